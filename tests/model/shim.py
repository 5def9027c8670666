"""The shim as a process: a list of commands in, a list of answers out."""

import subprocess

from model import Model


class ShimRun:
    def __init__(self, answers, problem):
        self.answers = answers
        self.problem = problem  # how the process ended, when not well


class Shim:
    def __init__(self, shim, library, seconds, emulator=()):
        self.command = [*emulator, shim, library]
        self.seconds = seconds

    def run(self, commands):
        """A run that ends badly is repeated with every answer sent at once: only then is the last one known."""
        run = self.run_once(commands, [])
        if not run.problem:
            return run
        again = self.run_once(commands, ['each'])
        return again if again.problem else ShimRun(run.answers, '%s, but not when run again' % run.problem)

    def run_once(self, commands, options):
        text = ''.join(command + '\n' for command in commands)
        try:
            ended = subprocess.run(self.command + options, input=text, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   timeout=self.seconds, encoding='utf-8', check=False)
        except subprocess.TimeoutExpired as expired:
            answers = (expired.stdout or b'').decode().split('\n')[:-1]
            return ShimRun(answers, 'stopped after %d seconds' % self.seconds)
        problem = 'exit status %d %s' % (ended.returncode, ended.stderr[-2000:]) if ended.returncode else None
        return ShimRun(ended.stdout.split('\n')[:-1], problem)


class Difference:
    """The first command to which model and driver answer differently."""

    def __init__(self, at, expected, actual):
        self.at = at
        self.expected = expected
        self.actual = actual


def expected_answers(commands):
    model = Model()
    return [model.run(command) for command in commands]


def first_difference(shim, commands):
    """None when every answer is the same and the process ended well."""
    expected = expected_answers(commands)
    run = shim.run(commands)
    for at, answer in enumerate(expected):
        if at >= len(run.answers):
            return Difference(at, answer, 'no answer: %s' % run.problem)
        if run.answers[at] != answer:
            return Difference(at, answer, run.answers[at])
    if run.problem:
        return Difference(len(commands) - 1, 'a good end', run.problem)
    return None
