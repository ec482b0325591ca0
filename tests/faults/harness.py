"""Finds what can fail in each scene, makes it fail, and shows what came of it."""

import argparse
import contextlib
import itertools
import os
import shutil
import signal
import sys
import tempfile
import time
from collections import defaultdict

import inject
from inject import ERRORS, Fault
from known import KNOWN
from scenes import REPOSITORY, SCENES
from verdict import Judge


def end(*_):
    """Once: what was started is being stopped."""
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
    sys.exit(128 + signal.SIGTERM)


signal.signal(signal.SIGTERM, end)


@contextlib.contextmanager
def stage(name, build):
    """A scene that is set up, and its judge; all that they need is gone at the end."""
    in_memory = os.path.isdir("/dev/shm") and shutil.disk_usage("/dev/shm").free > 1 << 30
    directory = tempfile.mkdtemp(prefix="torvik-faults-", dir="/dev/shm" if in_memory else None)
    scene = SCENES[name](build, directory)
    try:
        yield scene, Judge(scene)
    finally:
        scene.close()
        shutil.rmtree(directory, ignore_errors=True)


def faults_of(name, scene):
    """Every fault of a scene. What the loader does is the same in all of them."""
    found, gate = [], inject.LOADER if name == "embedded" else "0"
    while True:
        scene.restore()
        calls = scene.runner.calls(gate)
        if calls is None:
            return found
        found += [Fault(name, gate, call, error, when) for call, count in calls.items() for error in ERRORS[call]
                  if (call, error) not in scene.unreal for when in range(1, count + 1)]
        gate = "0" if gate == inject.LOADER else str(int(gate) + 1)


def is_known(fault, problem):
    return any(pattern.search(f"{fault}: {problem}") for pattern in KNOWN)


def try_all(judge, faults, until=float("inf")):
    """What came of each fault, as long as there is time: the fault, the word, the problems, which are printed too."""
    results = []
    for fault in itertools.takewhile(lambda _: time.monotonic() < until, faults):
        word, _, problems = judge.try_fault(fault)
        results.append((fault, word, problems))
        for problem in problems:
            mark = "known: " if is_known(fault, problem) else ""
            print(f"{mark}{problem}\n    repeat: tests/faults/one {fault}", flush=True)
    return results


def find(task):
    name, build = task
    with stage(name, build) as (scene, _):
        return faults_of(name, scene)


def try_piece(task):
    name, build, faults = task
    with stage(name, build) as (_, judge):
        return try_all(judge, faults)


def in_pieces(faults, build, jobs):
    """The tasks of try_piece: a scene's faults in pieces that take some minutes."""
    for name in SCENES:
        mine = [fault for fault in faults if fault.scene == name]
        pieces = max(min(jobs, len(mine)), len(mine) // 500)
        for i in range(pieces):
            yield name, build, mine[i::pieces]


def print_table(results):
    words = ["ok", "failure", "running", "none", "killed"]
    rows = defaultdict(lambda: defaultdict(int))
    for fault, word, problems in results:
        kind = f"{fault.call} {fault.error}" + (" (loader)" if fault.gate == inject.LOADER else "")
        for row in (kind, "total" + (" (loader)" if fault.gate == inject.LOADER else "")):
            rows[row][word] += 1
            if word is not None:
                rows[row]["injected"] += 1
                rows[row]["known"] += any(is_known(fault, problem) for problem in problems)
                rows[row]["violations"] += any(not is_known(fault, problem) for problem in problems)
    columns = ["injected", *words, "known", "violations"]
    print(f"{'call and error':32}" + "".join(f"{column:>11}" for column in columns))
    for row in sorted(rows, key=lambda row: (row.startswith("total"), "loader" in row, row)):
        print(f"{row:32}" + "".join(f"{rows[row][column]:11}" for column in columns))


def options(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--build", type=os.path.abspath, default=os.path.join(REPOSITORY, "build/debug"),
                        help="where the programs were built")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="so many runs at once")
    return parser


def finish(results):
    print_table(results)
    wrong = sum(any(not is_known(fault, problem) for problem in problems) for fault, _, problems in results)
    return 1 if wrong else 0
