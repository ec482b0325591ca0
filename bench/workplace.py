"""What the benchmarks need: the release build, an embedded server of their own, jobs, medians."""

import copy
import os
import pathlib
import shutil
import statistics
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BIN = ROOT / "build/release/src"
PLACE = ROOT / "build/bench"
WAREHOUSE = "BenchDW"

PACKAGE_HEAD = """
[global_variables]
ExceptionFilePath = ""
DTSServer = ""
DTSServerTrustedLogin = true
DTSServerLoginUserName = ""
DTSServerLoginPassword = ""
DestinationServer = ""
DestServerTrustedLogin = true
DestServerLoginUserName = ""
DestServerLoginPassword = ""
DestServerDatabaseName = ""
WriteCompletionStatusToNT = false
OverwriteGlobalSettings = false

[[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}" }
"""

JOB = """[Package Info]
Package={package}
LogFile={place}/run.txt
LogFileDir={place}/logs/
UseDefaultLogFileDir=FALSE
TruncLogFile=TRUE
WriteEvent=FALSE
[DTS Server Info]
DTSServer=(local)
DTSNTAut=TRUE
[Datawarehouse Server Info]
DWServer=(local)
DWNTAut=TRUE
DWDB={warehouse}
"""


def build(*programs):
    """Builds torvik and torvik-admin as they are released, and programs of this directory."""
    # bench/frames drives the form as the tests do.
    for command in (["cmake", "--preset", "release", "-DTORVIK_BENCH=ON", "-DTORVIK_TESTS=ON"],
                    ["cmake", "--build", "--preset", "release", "--target", "torvik",
                     "torvik-admin", *programs]):
        built = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
        if built.returncode != 0:
            raise SystemExit(built.stdout + built.stderr)


class Workplace:
    """A directory below build/bench with its own settings, server, package and job."""

    def __init__(self, name, package, steps):
        self.place = PLACE / name
        shutil.rmtree(self.place, ignore_errors=True)
        self.place.mkdir(parents=True)
        self.server = self.place / "server"
        self.warehouse = self.server / f"{WAREHOUSE}.db"
        self.status = self.place / "status"
        self.job = self.place / "job.etl"
        self.settings = self.place / "torvik.conf"
        self.settings.write_text(
            f"[server (local)]\nbackend = embedded\ndirectory = {self.server}\n")
        self.environment = dict(os.environ, TORVIK_CONF=str(self.settings),
                                TORVIK_STATE=str(self.place / "state"))
        self.environment.pop("DISPLAY", None)
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.job.write_text(self._job(package, self.place))
        self.package = package
        document = self.place / f"{package}.toml"
        document.write_text(f'name = "{package}"\n{PACKAGE_HEAD}{steps}')
        self._admin("server", "init", "--warehouse", WAREHOUSE)
        self._admin("package", "put", document)

    @staticmethod
    def _job(package, place):
        return JOB.format(package=package, place=place, warehouse=WAREHOUSE)

    def lane(self, number):
        """The same job once more, with files of its own, for runs at once."""
        other = copy.copy(self)
        other.place = self.place / f"lane-{number}"
        other.place.mkdir()
        other.status, other.job = other.place / "status", other.place / "job.etl"
        other.job.write_text(self._job(self.package, other.place))
        return other

    def _admin(self, *arguments):
        subprocess.run([BIN / "torvik-admin", *arguments], env=self.environment, check=True,
                       stdout=subprocess.DEVNULL)

    def add_settings(self, text):
        with self.settings.open("a") as file:
            file.write(text)

    def put_link(self, text):
        """Stores a data link in the warehouse."""
        document = self.place / "link.toml"
        document.touch(mode=0o600)
        document.write_text(text)
        self._admin("link", "put", document, "--database", WAREHOUSE)

    def command(self):
        return [BIN / "torvik", "-configfile", self.job, "-statusfile", self.status]

    def run(self):
        """Runs the job once; answers its seconds. Ends the program when the job failed."""
        self.status.unlink(missing_ok=True)
        seconds = timed(self.command(), self.environment)
        word = self.status.read_text().strip() if self.status.exists() else "no status"
        if word != "ok":
            log = self.place / "run.txt"
            raise SystemExit(f"the job ended with: {word}\n"
                             + (log.read_text() if log.exists() else ""))
        return seconds


def timed(command, environment=None, text=None, directory=None):
    """The wall time of a program in seconds."""
    start = time.perf_counter()
    subprocess.run(command, env=environment, input=text, text=True, check=True, cwd=directory,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL if directory else None)
    return time.perf_counter() - start


def median(seconds):
    return statistics.median(seconds)
