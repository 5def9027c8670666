"""Runs the tests against one mutant at a time."""
import collections
import concurrent.futures
import json
import os
import signal
import subprocess
import threading

from build import digest
from reach import QUICK, environment, limited
from report import name_of


def attempt(trial, number, again=True):
    """How a trial ends with a mutant at work: "passed", "failed", "died" or "endless"."""
    try:
        done = subprocess.run(limited(trial.command, max(1, 5 * trial.seconds)), stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, check=False,
                              timeout=20 + 100 * trial.seconds, env=environment(EC_MUTANT=str(number)))
    except subprocess.TimeoutExpired:  # it waits for something, unless the whole machine stood still
        return attempt(trial, number, False) if again else "endless"
    if done.returncode == -signal.SIGXCPU:
        return "endless"
    return "passed" if done.returncode == 0 else "died" if done.returncode < 0 else "failed"


class Judge:
    """Tries mutants and remembers the outcomes in a file, so that a run can be taken up again."""

    def __init__(self, trials, driver, path, spared):
        """driver is a digest of the driver's text; spared(mutant) is true for what the slow trials are not worth."""
        self.trials, self.driver, self.path, self.spared = trials, driver, path, spared
        self.stamps = {trial.name: trial.stamp for trial in trials}
        self.lock = threading.Lock()
        self.kills = collections.Counter()
        self.known = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                for line in file:
                    outcome = json.loads(line)
                    self.known[outcome["key"]] = outcome

    def reaching(self, mutant):
        """First what has killed most in the same function, then quickest first."""
        place, spared = (mutant["file"], mutant["function"]), self.spared(mutant)
        return sorted((trial for trial in self.trials
                       if mutant["site"] in trial.reached and not (spared and trial.seconds > QUICK)),
                      key=lambda trial: (-self.kills[(*place, trial.name)], trial.seconds))

    def judge(self, mutant):
        """An outcome: {key, how, by}. how is "survived", "unreached" or how the trial named by ended."""
        key = digest(self.driver, *name_of(mutant))
        trials = self.reaching(mutant)
        against = digest(*sorted(trial.stamp + trial.name for trial in trials))
        known = self.known.get(key)
        if known is not None:
            still = self.stamps.get(known["by"]) == known["stamp"] if known["by"] else known["stamp"] == against
            if still:
                return known
        outcome = {"key": key, "how": "survived" if trials else "unreached", "by": "", "stamp": against}
        for trial in trials:
            how = attempt(trial, mutant["number"])
            if how != "passed":
                outcome.update(how=how, by=trial.name, stamp=trial.stamp)
                break
        with self.lock:
            self.kills[mutant["file"], mutant["function"], outcome["by"]] += 1
            self.known[key] = outcome
            with open(self.path, "a", encoding="utf-8") as file:
                file.write(json.dumps(outcome) + "\n")
        return outcome

    def judge_all(self, mutants, jobs, tell=None):
        """The outcomes in the mutants' order."""
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            outcomes = []
            for outcome in pool.map(self.judge, mutants):
                outcomes.append(outcome)
                if tell is not None and len(outcomes) % 500 == 0:
                    tell(len(outcomes))
        return outcomes
