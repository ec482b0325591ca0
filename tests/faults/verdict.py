"""What must hold after a run in which something failed, and after the next one without a failure."""

import os
import re

import inject
from scenes import OLD_STEP_LOG

# Lines that say that a run has failed, and not why.
NO_REASON = re.compile(rf"Error: DTS Package (loading|Execute) error|.* in '.*' failed\.\s*|{OLD_STEP_LOG}")
# Lines after which a run may stay at "running".
NO_WAREHOUSE = re.compile(r"Error while connecting to|.*data links cannot be|.*dwm_data_link")
# What is told when the word, or the line that says that there is no warehouse, could not be written.
NO_WORD = re.compile(r"status file|cannot write the exception log")
# What a database keeps beside its file; logs of steps.
OF_NO_ACCOUNT = re.compile(r"server/.*-(wal|shm|journal)$|server/.*\.db$|logs/")


def _alike(lines):
    return {re.sub(r"[\d.]+", "#", line) for line in lines}


def _files(directory):
    return {os.path.relpath(os.path.join(place, name), directory)
            for place, _, names in os.walk(directory) for name in names}


class Judge:
    """Knows how a scene looks before and after a run that went well; `problems` are texts, none when all is right."""

    def __init__(self, scene):
        self.scene = scene
        scene.restore()
        self.before = scene.databases()
        self.files = {name: scene.read(name) for name in _files(scene.directory) if not OF_NO_ACCOUNT.match(name)}
        self.modes = {name: self._mode(name) for name in self.files}
        ended = scene.runner.plain()
        self.after, self.promised = scene.databases(), scene.promised()
        self.lines, self.last_lines = _alike(scene.log()), scene.log()[-1:]
        self.known_files = _files(scene.directory) | set(self.files)
        if scene.word(ended) != "ok" or self.after == self.before:
            raise SystemExit(f"{scene.arguments}: without a failure it ends with {scene.word(ended)}: {ended.err}")

    def try_fault(self, fault, look=lambda: None):
        """The word that the run ended with, how it ended, and the problems. The word is None when the call was not
        made. `look` sees the scene before the next run."""
        self.scene.restore()
        ended = self.scene.runner.with_fault(fault)
        killed = fault.error == "KILL" and ended.code == -9 and not ended.hung
        if not killed and "(INJECTED)" not in ended.trace:
            return None, ended, []
        look()
        word = self.scene.word(ended)
        if fault.gate == inject.LOADER and not killed and word == "none":
            problems = []  # the loader's own words
        else:
            problems = list(self._of_the_end(ended, killed, word))
        problems += self._of_what_stands(killed)
        problems += self.scene.problems_of_alarms(word, killed, ended.err)
        self.scene.make_ready()
        again = self.scene.runner.plain()
        problems += [f"the next run: {problem}" for problem in self._of_the_next_run(again)]
        return "killed" if killed else word, ended, problems

    def _of_the_end(self, ended, killed, word):
        if ended.hung:
            yield f"did not end within {inject.TIME_LIMIT} seconds"
            return
        if ended.code < 0 and not killed:
            yield f"was ended by signal {-ended.code}"
        if not killed:
            yield from self.scene.problems()
        log = self.scene.log()
        if any(secret in text for secret in self.scene.secrets for text in (ended.out, ended.err, *log)):
            yield "shows a password"
        is_told = ended.err.strip() or any(
            not NO_REASON.fullmatch(line) and not _alike([line]) <= self.lines for line in log)
        if word == "ok":
            if self.scene.promised() != self.promised:
                yield "says ok, and not everything has come"
            if not is_told and not (self.lines <= _alike(log) and log[-1:] == self.last_lines):
                yield "says ok, lacks lines of the log and does not tell it"
            if OLD_STEP_LOG in log and not ended.err.strip():
                yield "says ok, has lines of an earlier log and does not tell it"
        elif not killed:
            if not is_told:
                yield f"says {word} and not why"
            if word == "running" and not any(map(NO_WAREHOUSE.match, log)) and not NO_WORD.search(ended.err):
                yield "stays at running, though not for want of the warehouse"

    def _mode(self, name):
        return os.lstat(self.scene.path(name)).st_mode

    def _of_what_stands(self, killed):
        if self.scene.databases() not in (self.before, self.after):
            yield "the databases are neither as before nor as after"
        rules = self.scene.mutable_files()
        for name, old in self.files.items():
            now = self.scene.read(name)
            if now != old and not (name in rules and rules[name](now, old)):
                yield f"{name} is neither the old nor the new file"
            elif now is not None and self._mode(name) != self.modes[name]:
                yield f"{name} has another mode"
        for name, rule in rules.items():
            if name not in self.files and not rule(self.scene.read(name), None):
                yield f"{name} holds {self.scene.read(name)!r}"
        strange = [name for name in _files(self.scene.directory) - self.known_files if not OF_NO_ACCOUNT.match(name)]
        if strange and not killed:
            yield "leaves behind " + ", ".join(sorted(strange))

    def _of_the_next_run(self, ended):
        word = self.scene.word(ended)
        if word != "ok":
            yield f"ends with {word}: {ended.err.strip()} {self.scene.log()[-3:]}"
        elif self.scene.promised() != self.promised:
            yield "says ok, and not everything has come"
        elif self.scene.log()[-1:] != self.last_lines:
            yield "says ok, lacks the last lines of the log"
