"""A shorter and plainer sequence of calls that still differs."""

import time

from records import bytes_of, hex_text
from replies import sealed
from shim import first_difference

SECONDS = 60
# Where bytes stand among the words of a command.
BYTES_AT = {'AddListReadVar': 15, 'AddListWriteVar': 16, 'AddListOnceReadVar': 16, 'GetRegisterData': 5,
            'SetRegisterData': 5}


class Shrinker:
    """Each step of it keeps the smallest sequence that it has found, and its difference."""

    def __init__(self, shim, commands, difference):
        self.shim = shim
        self.commands = commands[:difference.at + 1]
        self.difference = difference
        self.end = time.monotonic() + SECONDS

    def still_differs(self, candidate):
        """Takes the candidate when it does, and not only later than the one before."""
        # A dump shows what the answers so far do not.
        if candidate[-1] != 'dump':
            candidate = candidate + ['dump']
        found = first_difference(self.shim, candidate)
        if found is None or found.at >= len(self.commands):
            return False
        self.commands, self.difference = candidate[:found.at + 1], found
        return True

    def in_time(self):
        return time.monotonic() < self.end

    def remove_calls(self):
        chunk = max(1, len(self.commands) // 2)
        while self.in_time():
            shorter = False
            at = 1  # a sequence starts with reset
            while at < len(self.commands) and self.in_time():
                before = len(self.commands)
                candidate = self.commands[:at] + self.commands[at + chunk:]
                if self.still_differs(candidate) and len(self.commands) < before:
                    shorter = True
                else:
                    at += chunk
            if chunk == 1 and not shorter:
                break
            chunk = max(1, chunk // 2)

    def simplify_arguments(self):
        """Rows and bytes away, and numbers nearer to 0, as long as one such step helps."""
        at = 1
        while at < len(self.commands) and self.in_time():
            for plainer in plainer_commands(self.commands[at]):
                if not self.in_time():
                    return
                if self.still_differs(self.commands[:at] + [plainer] + self.commands[at + 1:]):
                    break
            else:
                at += 1


def plainer_commands(command):
    """What a command could be instead: always less, so that simplifying comes to an end."""
    words = command.split(' ')
    name = words[0]
    if name == 'DataCom':
        yield from plainer_replies(words)
        return
    if name == 'store':
        return
    if name == 'ReCreatReadVarList':
        for row in range(2, len(words), 5):
            yield ' '.join([name, str(int(words[1]) - 1)] + words[2:row] + words[row + 5:])
    bytes_at = BYTES_AT.get(name)
    for at in range(2 if name == 'ReCreatReadVarList' else 1, len(words)):
        plainer = plainer_bytes if at == bytes_at else plainer_texts if words[at].startswith('"') else plainer_numbers
        for word in plainer(words[at]):
            yield ' '.join(words[:at] + [word] + words[at + 1:])


def plainer_replies(words):
    yield from ['DataCom 0 -'] if words[1] != '0' else []
    reply = b'' if words[2] == 'null' else bytes_of(words[2])
    if any(reply[3:-2]):
        yield 'DataCom %s %s' % (words[1], hex_text(sealed(reply[:3] + bytes(len(reply) - 5))))


def plainer_bytes(word):
    if word not in ('-', 'null'):
        yield '-'
        yield from (word[:len(word) // 4 * 2], word[:-2]) if len(word) > 2 else ()
        yield from ['00' * (len(word) // 2)] if word.strip('0') else []


def plainer_texts(word):
    digits = word[1:-1]
    if digits:
        yield '""'
    if digits.isdigit() and int(digits):
        yield '"%d"' % (int(digits) // 2)
        yield '"%d"' % (int(digits) - 1)


def plainer_numbers(word):
    if not word.lstrip('-').isdigit():
        return
    value = int(word)
    for smaller in (0, 1, int(value / 2), value - 1 if value > 0 else value + 1):
        if abs(smaller) < abs(value):
            yield str(smaller)


def shrink(shim, commands):
    """(commands, difference); the difference is None when the sequence does not differ alone."""
    difference = first_difference(shim, commands)
    if difference is None:
        return commands, None
    shrinker = Shrinker(shim, commands, difference)
    shrinker.remove_calls()
    shrinker.simplify_arguments()
    shrinker.remove_calls()
    return shrinker.commands, shrinker.difference
