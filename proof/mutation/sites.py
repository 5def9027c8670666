"""Walks the driver's syntax trees and lists the places that can be mutated."""
import dataclasses
import json
import os
import shlex

from clang.cindex import CursorKind as K, Index, TypeKind as T

import operators as op

ROOMS = ("driver", "varlist", "frames", "image")
# The layout of the records: all of it is proven while compiling.
NOT_MUTATED = ("driver/record_layout.cpp",)
# Records that the host alone makes; hashes, which spread keys but decide nothing.
NOT_OURS = ("VARDESC", "qHash")
LOOPS = (K.FOR_STMT, K.WHILE_STMT, K.DO_STMT, K.CXX_FOR_RANGE_STMT)
FUNCTIONS = (K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR, K.FUNCTION_TEMPLATE, K.CONVERSION_FUNCTION)
REMOVED = "(removed)"


@dataclasses.dataclass
class Site:
    """A place in a file, and what can stand there instead."""
    file: str
    begin: int
    end: int
    statement: bool
    function: str
    alternatives: list  # of (operator, text)

    def is_pair(self):
        """Two statements, which the copy needs braces for."""
        return self.alternatives[0][0] == "order"


class Walker:
    """Collects the sites of one file."""

    def __init__(self, root, file):
        self.root, self.file = root, file
        self.source = op.Source(os.path.join(root, file))
        self.places = {}

    def ours(self, cursor):
        location = cursor.location.file
        return location is not None and os.path.realpath(location.name).startswith(self.root + os.sep)

    def add(self, cursor, function, alternatives, statement=False, last=None):
        begin, end = cursor.extent.start.offset, (last or cursor).extent.end.offset
        if not alternatives or begin >= end:
            return
        site = self.places.setdefault((begin, end, statement), Site(self.file, begin, end, statement, function, []))
        known = {text for _, text in site.alternatives}
        for operator, text in alternatives:
            if text not in known:
                known.add(text)
                site.alternatives.append((operator, text))

    def sites(self):
        """What has been found; without what leaving out the whole statement does as well."""
        for (begin, end, statement), site in self.places.items():
            if not statement and (begin, end, True) in self.places:
                site.alternatives = [pair for pair in site.alternatives if pair[0] != "link"]
        return [site for site in self.places.values() if site.alternatives]

    # ---- statements

    def statement(self, cursor, function, last_of_switch=False):
        """A statement of a block: what of it can be left out."""
        inner = op.bare(cursor)
        if inner.kind in (K.CALL_EXPR, K.COMPOUND_ASSIGNMENT_OPERATOR):
            self.add(cursor, function, [("deletion", REMOVED)], True)
        elif inner.kind == K.BINARY_OPERATOR and op.binary(self.source, inner)[0] == "=":
            self.add(cursor, function, [("deletion", REMOVED)], True)
        elif inner.kind == K.UNARY_OPERATOR and op.unary_token(self.source, inner) in ("++", "--"):
            self.add(cursor, function, [("deletion", REMOVED)], True)
        elif inner.kind == K.CONTINUE_STMT or (inner.kind == K.BREAK_STMT and not last_of_switch):
            self.add(cursor, function, [("deletion", REMOVED)], True)
        elif inner.kind == K.RETURN_STMT and not list(inner.get_children()):
            self.add(cursor, function, [("deletion", REMOVED)], True)

    def block(self, cursor, function, of_switch):
        children, paired = list(cursor.get_children()), 0
        for position, child in enumerate(children[:-1]):
            others = op.of_pair(self.source, child, children[position + 1])
            if others and child.extent.start.offset >= paired:
                self.add(child, function, others, True, children[position + 1])
                paired = children[position + 1].extent.end.offset
        for position, child in enumerate(children):
            rest = [labelled(later) for later in children[position + 1:]]
            self.statement(labelled(child), function, of_switch and all(s.kind == K.BREAK_STMT for s in rest))

    # ---- the walk

    def walk(self, cursor, function=None, result=None, parent=None, in_loop_head=False):
        kind = cursor.kind
        if kind in (K.STATIC_ASSERT, K.ENUM_DECL, K.PARM_DECL) or cursor.spelling in NOT_OURS:
            return
        if kind in FUNCTIONS:
            function, result = cursor.spelling, cursor.result_type
        if kind == K.LAMBDA_EXPR:
            result = None
        if kind in FUNCTIONS + (K.VAR_DECL, ) and any(t.spelling == "constexpr" for t in head(cursor)):
            return
        children = list(cursor.get_children())
        if kind in (K.VAR_DECL, K.FIELD_DECL) and cursor.type.kind == T.CONSTANTARRAY:
            children = [child for child in children if child.kind == K.INIT_LIST_EXPR]
            function = function or cursor.spelling
        if kind == K.FIELD_DECL:
            function = cursor.semantic_parent.spelling
        if kind == K.VAR_DECL:
            function = function or cursor.spelling
        if kind == K.CASE_STMT:
            children = children[1:]
        if kind == K.DECL_REF_EXPR:  # its template arguments
            children = []
        self.expression(cursor, function, in_loop_head)
        self.context(cursor, children, function, result, parent)
        for position, child in enumerate(children):
            loop_head = kind in LOOPS and position < len(children) - 1
            self.walk(child, function, result, cursor, loop_head or in_loop_head and kind in op.WRAPPERS)

    def expression(self, cursor, function, in_loop_head):
        kind, source = cursor.kind, self.source
        if kind in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR):
            self.add(cursor, function, op.of_binary(source, cursor, in_loop_head))
        elif kind == K.UNARY_OPERATOR:
            self.add(cursor, function, op.of_unary(source, cursor))
        elif kind in (K.INTEGER_LITERAL, K.CHARACTER_LITERAL):
            self.add(cursor, function, op.of_integer(source, cursor))
        elif kind == K.CXX_BOOL_LITERAL_EXPR:
            self.add(cursor, function, [("constant", {"true": "false", "false": "true"}[source.of(cursor)])])
        elif kind == K.DECL_REF_EXPR:
            self.add(cursor, function, op.of_name(cursor, self.ours))
        elif kind == K.CALL_EXPR:
            self.add(cursor, function, op.of_call(source, cursor))
        elif kind == K.CONDITIONAL_OPERATOR:
            self.truth(list(cursor.get_children())[0], function)

    def truth(self, cursor, function, in_loop_head=False):
        self.add(op.bare(cursor), function, op.of_truth(self.source, cursor, in_loop_head))

    def context(self, cursor, children, function, result, parent):
        """What depends on where an expression stands."""
        kind = cursor.kind
        if kind == K.COMPOUND_STMT:
            self.block(cursor, function, parent is not None and parent.kind == K.SWITCH_STMT)
        elif kind == K.IF_STMT:
            self.truth(children[0], function)
            for branch in children[1:]:
                self.statement(branch, function)
        elif kind in LOOPS:
            self.statement(children[-1], function)
            for child in children[:-1]:
                if kind != K.CXX_FOR_RANGE_STMT and op.kind_of(op.bare(child)) == T.BOOL:
                    self.truth(child, function, True)
        elif kind == K.BINARY_OPERATOR and op.binary(self.source, cursor)[0] in op.LOGICAL:
            for child in children:
                self.truth(child, function)
        elif kind == K.RETURN_STMT and children:
            if op.kind_of(op.bare(children[0])) == T.BOOL:
                self.truth(children[0], function)
            else:
                others = op.of_return(self.source, result, children[0])
                self.add(cursor, function, [(o, f"return {text}") for o, text in others], True)


def labelled(cursor):
    """The statement behind its case labels."""
    while cursor.kind in (K.CASE_STMT, K.DEFAULT_STMT):
        cursor = list(cursor.get_children())[-1]
    return cursor


def head(cursor):
    for token in cursor.get_tokens():
        if token.spelling in ("{", "=", "("):
            return
        yield token


def flags_of(entry):
    """What the syntax tree depends on, of a compile command."""
    words = shlex.split(entry["command"])
    flags = []
    for position, word in enumerate(words):
        if word.startswith(("-I", "-D", "-std")):
            flags.append(word)
        elif word == "-isystem":
            flags += [word, words[position + 1]]
    return flags


def driver_commands(root, build):
    """The compile commands of the driver's own files, by file."""
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        entries = json.load(file)
    found = {}
    for entry in entries:
        name = os.path.relpath(os.path.realpath(os.path.join(entry["directory"], entry["file"])), root)
        if name.split(os.sep)[0] in ROOMS and "driver_objects.dir" in entry["command"]:
            found[name] = entry
    return found


def sites_of(root, entry):
    """The sites of one translation unit, its own headers included, by file."""
    unit = Index.create().parse(entry["file"], args=flags_of(entry))
    errors = [str(message) for message in unit.diagnostics if message.severity >= 3]
    if errors:
        raise SystemExit("mutation: the syntax tree has errors: " + "; ".join(errors[:3]))
    walkers = {}
    for cursor in unit.cursor.get_children():
        location = cursor.location.file
        name = os.path.relpath(os.path.realpath(location.name), root) if location is not None else ".."
        if name.split(os.sep)[0] not in ROOMS or name in NOT_MUTATED:
            continue
        if name not in walkers:
            walkers[name] = Walker(root, name)
        walkers[name].walk(cursor)
    return {name: walker.sites() for name, walker in walkers.items()}
