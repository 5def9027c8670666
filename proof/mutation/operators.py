"""What can be put in place of an expression: the mutation operators, each a list of (operator, text)."""
import re

from clang.cindex import CursorKind as K, TypeKind as T

RELATIONAL = ("<", "<=", ">", ">=", "==", "!=")
ARITHMETIC = ("+", "-", "*", "/", "%")
BITWISE = {"&": ("|", "^"), "|": ("&", "^"), "^": ("&", "|"), "<<": (">>",), ">>": ("<<",)}
COMPOUND = {"+=": ("-=",), "-=": ("+=",), "^=": ("|=", "&="), "|=": ("&=", "^="), "&=": ("|=", "^="), "*=": ("/=",),
            "/=": ("*=",), "<<=": (">>=",), ">>=": ("<<=",), "%=": ("/=",)}
LOGICAL = {"&&": "||", "||": "&&"}
# Pairs of which one is easily written for the other.
SIBLINGS = {"lowByte": "highByte", "bigEndianWord": "littleEndianWord", "qMin": "qMax", "first": "last",
            "removeFirst": "removeLast", "takeFirst": "takeLast"}
SIBLINGS.update({other: one for one, other in SIBLINGS.items()})
SIBLINGS["left"] = "mid"
WRAPPERS = (K.UNEXPOSED_EXPR, K.PAREN_EXPR)
INTEGERS = (T.INT, T.UINT, T.LONG, T.ULONG, T.LONGLONG, T.ULONGLONG, T.SHORT, T.USHORT, T.UCHAR, T.SCHAR, T.CHAR_S)


def bare(cursor):
    """The expression inside parentheses and implicit conversions."""
    while cursor.kind in WRAPPERS:
        inner = list(cursor.get_children())
        if len(inner) != 1:
            break
        cursor = inner[0]
    return cursor


def kind_of(cursor):
    return cursor.type.get_canonical().kind


class Source:
    """The bytes of a file, by cursor."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.bytes = file.read()

    def between(self, begin, end):
        return self.bytes[begin:end].decode()

    def of(self, cursor):
        return self.between(cursor.extent.start.offset, cursor.extent.end.offset)

    def operator(self, left, right):
        """The token between two operands."""
        text = self.between(left.extent.end.offset, right.extent.start.offset)
        return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S).strip()


def binary(source, cursor):
    """(operator token, left, right) of a built-in binary operation, else None."""
    if cursor.kind not in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR):
        return None
    left, right = cursor.get_children()
    return source.operator(left, right), left, right


def unary_token(source, cursor):
    text = source.of(cursor)
    for token in ("++", "--"):
        if text.startswith(token) or text.endswith(token):
            return token
    return text[0]


def is_pointer(cursor):
    return kind_of(bare(cursor)) in (T.POINTER, T.NULLPTR) or kind_of(cursor) in (T.POINTER, T.NULLPTR)


def of_binary(source, cursor, in_loop_head):
    token, left, right = binary(source, cursor)
    pointers = is_pointer(left) or is_pointer(right)

    def put(operator):
        return f"{operand(source, left)} {operator} {operand(source, right)}"

    if token in RELATIONAL:
        others = [t for t in RELATIONAL if t != token and (not pointers or t in ("==", "!="))]
        forced = ["false"] if in_loop_head else ["true", "false"]
        return [("relation", put(t)) for t in others] + [("forced", text) for text in forced]
    if token in ARITHMETIC:
        others = [t for t in ARITHMETIC if t != token and (not pointers or t in ("+", "-"))]
        if source.of(right) == "1" and token in ("+", "-") and not pointers:
            others.remove("/")  # the same as *
        return [("arithmetic", put(t)) for t in others]
    if token in BITWISE:
        joined = token == "|" and any((binary(source, bare(c)) or [None])[0] == "<<" for c in (left, right))
        # Of parts that do not overlap, ^ makes what | makes.
        return [("bits", put(t)) for t in BITWISE[token] if not (joined and t == "^")]
    if token in COMPOUND:
        return [("assignment", put(t)) for t in COMPOUND[token]]
    if token in LOGICAL:
        return [("logic", put(LOGICAL[token]))]
    return []


def operand(source, cursor):
    """An operand's text, in parentheses where another operator could tear it apart."""
    text = source.of(cursor)
    compound = bare(cursor).kind in (K.BINARY_OPERATOR, K.CONDITIONAL_OPERATOR) and not text.startswith("(")
    return f"({text})" if compound else text


def of_unary(source, cursor):
    (operand,) = cursor.get_children()
    token, text = unary_token(source, cursor), source.of(operand)
    if token in ("++", "--"):
        other = {"++": "--", "--": "++"}[token]
        return [("step", other + text if source.of(cursor).startswith(token) else text + other)]
    if token in ("!", "~", "-"):
        return [("unary", text)]
    return []


def of_integer(source, cursor):
    text = source.of(cursor)
    if re.match(r"[0-9']", text) is None:  # a macro
        return []
    if text[0] == "'":
        return [("constant", f"static_cast<char>({text} {step} 1)") for step in "+-"]
    value = int(text.rstrip("uUlL"), 0)
    write = hex if text.startswith("0x") else str
    return [("constant", write(v) if v else "0") for v in sorted({value + 1, value - 1, 0} - {value})]


def of_name(cursor, ours):
    """A named constant of the project: an enumerator, or a constexpr variable."""
    target, name = cursor.referenced, cursor.spelling
    if target is None or not ours(target):
        return []
    if target.kind == K.ENUM_CONSTANT_DECL:
        enum = target.semantic_parent
        if enum.is_scoped_enum():
            return [("constant", next_enumerator(enum, target.spelling))]
        return [("constant", f"static_cast<decltype({name})>({name} {step} 1)") for step in "+-"]
    if target.kind == K.VAR_DECL and any(t.spelling == "constexpr" for t in target.get_tokens()):
        enum = target.type.get_canonical().get_declaration()
        if enum.kind == K.ENUM_DECL:
            value = list(target.get_tokens())[-1].spelling
            return [("constant", next_enumerator(enum, value))]
        if enum.kind in (K.STRUCT_DECL, K.CLASS_DECL):  # a table
            return []
        return [("constant", f"{name} - 1")]
    return []


def next_enumerator(enum, name):
    names = [child.spelling for child in enum.get_children() if child.kind == K.ENUM_CONSTANT_DECL]
    return f"{enum.spelling}::{names[(names.index(name) + 1) % len(names)]}"


def of_call(source, cursor):
    children = list(cursor.get_children())
    if not children:
        return []
    found = []
    callee = bare(children[0])
    name = cursor.spelling
    own = ("KeyedRecords", "RequestQueue")  # have one of each pair only
    if name in SIBLINGS and callee.kind in (K.DECL_REF_EXPR, K.MEMBER_REF_EXPR) and (
            cursor.referenced is None or cursor.referenced.semantic_parent.spelling not in own):
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        at = callee.extent.end.offset - len(name)
        if source.between(at, at + len(name)) == name:
            found.append(("sibling", source.between(begin, at) + SIBLINGS[name] + source.between(at + len(name), end)))
    # A link of a builder's chain, left out.
    if children[0].kind == K.MEMBER_REF_EXPR and cursor.referenced is not None:
        result = cursor.referenced.result_type
        inner = list(children[0].get_children())
        if inner and result.kind == T.LVALUEREFERENCE and result.get_pointee().spelling == "FrameWriter":
            found.append(("link", source.of(inner[0])))
    return found


def of_pair(source, first, second):
    """Two things appended in the wrong order."""
    one, two = bare(first), bare(second)
    if one.kind != K.CALL_EXPR or two.kind != K.CALL_EXPR or one.spelling != two.spelling:
        return []
    if not one.spelling.startswith(("append", "u8")):
        return []
    return [("order", f"{{ {source.of(second)}; {source.of(first)}; }}")]


def of_truth(source, cursor, in_loop_head):
    """For what is asked for its truth and is no comparison: those have their own."""
    inner = bare(cursor)
    parts = binary(source, inner)
    if parts is not None and parts[0] in RELATIONAL or inner.kind == K.CXX_BOOL_LITERAL_EXPR:
        return []
    if kind_of(inner) not in (T.BOOL,) + INTEGERS:
        return []
    negated = [("negation", f"!({source.of(inner)})")]
    if parts is not None and parts[0] in LOGICAL:
        return negated
    if inner.kind == K.UNARY_OPERATOR and unary_token(source, inner) == "!":
        negated = []  # what leaving out the ! does
    return negated + [("forced", text) for text in (["false"] if in_loop_head else ["true", "false"])]


def of_return(source, function_type, value):
    """What else a function could return; None for the type when it is not known."""
    if function_type is None:
        return []
    kind, inner = function_type.get_canonical().kind, bare(value)
    if kind in INTEGERS:
        if inner.kind in (K.INTEGER_LITERAL, K.CHARACTER_LITERAL) or (
                inner.kind == K.DECL_REF_EXPR and inner.referenced.kind == K.ENUM_CONSTANT_DECL):
            return []  # constants have their own
        return [("return", "0"), ("return", f"{operand(source, value)} + 1")]
    if kind == T.POINTER:
        return [] if inner.kind == K.CXX_NULL_PTR_LITERAL_EXPR else [("return", "nullptr")]
    if kind == T.RECORD and function_type.spelling != "FrameWriter":  # which is never empty
        empty = function_type.spelling.split("::")[-1] + "()"
        return [] if source.of(value) == empty else [("return", empty)]
    return []
