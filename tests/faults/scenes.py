"""What is run under failures: six scenes, each in a directory that is prepared once and put back before each run.

A scene knows its command, what stands in its databases and files, and the word by which its command says how it went.
"""

import getpass
import os
import re
import shutil
import sqlite3
import subprocess

from inject import Runner

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
CREATE_TABLES = "CREATE TABLE orders (order_no INTEGER, amount INTEGER); CREATE TABLE totals (orders INTEGER, amount INTEGER);"
OLD_ROWS = "INSERT INTO orders VALUES (7, 70); INSERT INTO totals VALUES (1, 70);"
QUERIES = ["SELECT * FROM orders ORDER BY 1", "SELECT * FROM totals ORDER BY 1",
           "SELECT source_name, type, ds_directory, transfer_data, COALESCE(remote_directory, '') FROM dwm_data_link "
           "ORDER BY 1"]
ORDERS = "order_no,amount\r\n" + "".join(f"{number},{number * 10}\r\n" for number in range(1, 51))
OLD_LOG = "a line of an earlier run\r\n"
OLD_STEP_LOG = "a line of an earlier step"


def text_of(name):
    with open(os.path.join(HERE, "data", name), newline="") as file:
        return file.read()


def write_file(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", newline="") as file:
        file.write(text)


class PrivateServer:
    """A server of scripts/private-NAME in a directory of its own."""

    def __init__(self, name, directory, *options):
        self.script, self.directory = f"{REPOSITORY}/scripts/private-{name}", os.path.join(directory, name)
        started = subprocess.run([self.script, "start", self.directory, *options], check=True, text=True,
                                 stdout=subprocess.PIPE)
        self.port = started.stdout.strip()
        with open(os.path.join(self.directory, "password")) as file:
            self.password = file.read().strip()

    def stop(self):
        subprocess.run([self.script, "stop", self.directory], check=True)


class Embedded:
    """torvik runs a job on an embedded server."""

    arguments = ["torvik", "-configfile", "job.etl", "-statusfile", "status"]
    unreal = ()  # calls and errors that do not happen so
    secrets = ()  # passwords

    def __init__(self, build, directory):
        self.build = build
        self.directory, self.saved = os.path.join(directory, "work"), os.path.join(directory, "saved")
        os.makedirs(self.path("tmp"))
        own = {"TORVIK_CONF": self.path("torvik.conf"), "TORVIK_STATE": self.path("state"), "TMPDIR": self.path("tmp")}
        others = {name: value for name, value in os.environ.items() if "DISPLAY" not in name and "TORVIK" not in name}
        self.environment = {**others, **own, "LC_ALL": "C"}
        self.runner = Runner([self.program(self.arguments[0]), *self.arguments[1:]], self.directory, self.environment,
                             os.path.join(build, "tests/libfault-gate.so"), directory)
        self.prepare()
        shutil.copytree(self.directory, self.saved, symlinks=True)

    def close(self):
        """Stops what the scene has started."""

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, text, mode=0o644):
        write_file(self.path(name), text)
        os.chmod(self.path(name), mode)

    def read(self, name):
        """The bytes of a file; None when there is none."""
        try:
            with open(self.path(name), "rb") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def program(self, name):
        return os.path.join(self.build, "tests" if name == "torvik-save-job" else "src", name)

    def run(self, program, *arguments):
        subprocess.run([self.program(program), *arguments], cwd=self.directory, env=self.environment, check=True,
                       stdout=subprocess.DEVNULL)

    # How it is prepared.

    def prepare(self):
        self.write("torvik.conf", f"[paths]\ndrive S: = {self.directory}\n" + self.settings())
        self.write("job.etl", text_of("job.etl"))
        self.write("package.toml", text_of("package.toml"))
        self.write("data/orders.csv", ORDERS)
        self.write("err.txt", OLD_LOG)
        self.write("logs/earlier.log", OLD_STEP_LOG + "\r\n")
        self.run("torvik-admin", "server", "init", "--warehouse", "DW")
        self.make_tables()
        self.run("torvik-admin", "package", "put", "package.toml")
        for number, link in enumerate(self.links()):
            self.write(f"link{number}.toml", "model = 'Sales'\nType = 3\n" + link, 0o600)
            self.run("torvik-admin", "link", "put", f"link{number}.toml", "--database", "DW")

    def settings(self):
        return f"[server (local)]\nbackend = embedded\ndirectory = {self.path('server')}\n"

    def make_tables(self):
        database = sqlite3.connect(self.path("server/DW.db"))
        database.executescript(CREATE_TABLES + OLD_ROWS)
        database.close()

    def links(self):
        return ["source_name = 'orders'\nds_directory = 'S:\\data\\'\ntransfer_data = 0\n"]

    def restore(self):
        shutil.rmtree(self.directory)
        shutil.copytree(self.saved, self.directory, symlinks=True)
        self.make_ready()

    def make_ready(self):
        """What others do before a run."""
        if os.path.exists(self.path("status")):
            os.remove(self.path("status"))

    # How it looks.

    def databases(self):
        """Every row that matters, to be compared."""
        rows = []
        packages = "SELECT DISTINCT name, packagedata FROM sysdtspackages ORDER BY 2"
        for name, queries in (("DW", QUERIES), ("msdb", [packages])):
            database = sqlite3.connect(self.path(f"server/{name}.db"), timeout=5)
            rows += [database.execute(query).fetchall() for query in ["PRAGMA quick_check", *queries]]
            database.close()
        return rows

    def promised(self):
        """What must have come when the command says that all went well."""
        return self.databases()

    def problems(self):
        """What else is wrong after a run that was not killed."""
        return []

    def problems_of_alarms(self, word, killed, said):
        """What else is wrong once whoever is to be called has been called."""
        return []

    def mutable_files(self):
        """The files that a run replaces, and whether these bytes may stand there in the place of the old ones."""
        words = (None, b"running\r\n", b"ok\r\n", b"failure\r\n")
        return {"status": lambda now, old: now in words,
                "err.txt": lambda now, old: now is not None and now.startswith(old)}

    def word(self, ended):
        """ "ok", "failure", "running", or "none"."""
        return (self.read("status") or b"none").decode().strip()

    def log(self):
        """The lines of the run, where the command writes a log."""
        return (self.read("err.txt") or b"").decode("cp1252")[len(OLD_LOG):].splitlines()


class Watched(Embedded):
    """The same job; a program is called at the end of each run."""

    # The system takes a descriptor back whatever close answers, and a lock always. An injected answer leaves them: who
    # waits for the end of a pipe waits for ever, who waits for the lock until SQLite gives up.
    unreal = {("close", "EINTR"), ("close", "EIO"), ("fcntl", "EAGAIN"), ("fcntl", "EIO"), ("fcntl", "ENOLCK")}

    def settings(self):
        self.write("metrics/readme", "")
        call = f"dd bs=1M of={self.path('called')} oflag=append conv=notrunc status=none"
        return super().settings() + (f"[monitor]\ntextfile_directory = {self.path('metrics')}\n"
                                     f"[notify]\ncommand = {call}\ncommand_on = always\n")

    def problems_of_alarms(self, word, killed, said):
        """What is called says what the word says; of a killed run, and of one whose end could not be kept, at least
        that it is no success."""
        subprocess.run([self.program("torvik-admin"), "alarms"], cwd=self.directory, env=self.environment,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        called = (self.read("called") or b"").decode()
        outcomes = set(re.findall(r'"server":"[^"]*","outcome":"(\w+)"', called))
        fitting = {"ok"} if word == "ok" else {"failure", "lost"}
        if killed or "the history" in said:
            fitting.add("lost")
        if "the status file" in said:  # the word is not there
            fitting.add("ok")
        if not outcomes <= fitting:
            yield f"ended with {word}, and the calls say {sorted(outcomes)}"
        if not outcomes and not killed and word != "none" and "the history" not in said:
            yield f"ended with {word}, and nobody was called"


class PostgreSql(Embedded):
    """The same job on a PostgreSQL server."""

    # The client library waits for the server's last words after a failed send. When the connection is really broken
    # they come, or its end does; here the server waits too.
    unreal = {("sendto", error) for error in ("ECONNRESET", "ENOMEM", "EPIPE")}

    def __init__(self, build, directory):
        os.chmod(directory, 0o755)  # the server may run as another user
        self.server = PrivateServer("postgresql", directory, "-c", "fsync=off")
        self.secrets = [self.server.password]
        login = {**os.environ, "PGHOST": "127.0.0.1", "PGPORT": self.server.port, "PGUSER": "torvik",
                 "PGPASSWORD": self.server.password}
        subprocess.run(["psql", "-Xqd", "postgres", "-c", 'CREATE DATABASE "DW"'], env=login, check=True)
        self.client = subprocess.Popen(["psql", "-XqAtd", "DW"], env=login, text=True, stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE)
        super().__init__(build, directory)

    def close(self):
        self.client.stdin.close()
        self.client.wait()
        self.server.stop()

    def query(self, statements):
        self.client.stdin.write(statements + "\n\\echo :end:\n")
        self.client.stdin.flush()
        return list(iter(lambda: self.client.stdout.readline().rstrip("\n"), ":end:"))

    def settings(self):
        self.write("pgpass", f"127.0.0.1:*:*:torvik:{self.server.password}\n", 0o600)
        self.environment["PGPASSFILE"] = self.path("pgpass")
        return f"[server (local)]\nbackend = postgresql\nhost = 127.0.0.1\nport = {self.server.port}\nuid = torvik\n"

    def make_tables(self):
        self.query(CREATE_TABLES)

    def restore(self):
        super().restore()
        # A session of a run that was killed may still end: its locks are waited for.
        self.query(f"BEGIN; TRUNCATE orders, totals; {OLD_ROWS} COMMIT;")

    def databases(self):
        return self.query(f"BEGIN; LOCK TABLE orders, totals, dwm_data_link; {'; '.join(QUERIES)}; COMMIT;")


class Remote(Embedded):
    """A job whose data comes by FTP, and more of it from a share."""

    fetched = {"data/orders.csv": ORDERS, "more/prices.csv": ORDERS, "data/status": None, "more/status": None}
    earlier = "what an earlier run has fetched\r\n"
    # libsmbclient aborts when it cannot set a socket's flags, which never fails so. A close that fails closes all the
    # same, but not here, and a lock that is kept is waited for. Both fail in the embedded scene.
    unreal = {("fcntl", "EAGAIN"), ("fcntl", "EIO"), ("fcntl", "ENOLCK"), ("close", "EINTR"), ("close", "EIO")}

    def __init__(self, build, directory):
        self.ftp, self.share = PrivateServer("ftp", directory), PrivateServer("share", directory)
        self.secrets = [self.ftp.password, self.share.password]
        super().__init__(build, directory)

    def close(self):
        self.ftp.stop()
        self.share.stop()

    def settings(self):
        self.write("credentials", f"username = {getpass.getuser()}\npassword = {self.share.password}\n", 0o600)
        return (super().settings() + f"[ftp]\nport = {self.ftp.port}\ntimeout = 5\n[smb]\nport = {self.share.port}\n"
                f"timeout = 5\ncredentials = {self.path('credentials')}\n")

    def links(self):
        out = "/out/" if os.geteuid() == 0 else self.ftp.directory + "/files/out/"
        polled = "poll_duration = 1\npoll_interval = 0\n"
        return [polled + "source_name = 'a'\ntransfer_data = 1\nds_directory = 'S:\\data\\'\nftp_server = '127.0.0.1'\n"
                f"ftp_user = 'torvik'\nftp_password = '{self.ftp.password}'\nremote_directory = '{out}'\n",
                polled + "source_name = 'b'\ntransfer_data = 2\nds_directory = 'S:\\more\\'\n"
                "remote_directory = '\\\\127.0.0.1\\files\\out\\'\n"]

    def prepare(self):
        super().prepare()
        for name in self.fetched:
            self.write(name, self.earlier)

    def make_ready(self):
        super().make_ready()
        for server, name in ((self.ftp, "orders.csv"), (self.share, "prices.csv")):
            write_file(f"{server.directory}/files/out/{name}", ORDERS)
            write_file(f"{server.directory}/files/out/status", "ready\r\n")

    def promised(self):
        return super().promised() + [self.read(name) for name, text in self.fetched.items() if text]

    def problems(self):
        with open(self.ftp.directory + "/files/out/status") as file:
            is_taken = file.read().startswith("idle")
        is_here = self.read("data/orders.csv") == ORDERS.encode()
        if not is_taken or is_here or self.remembers_claim():
            return []
        return ["the provider's data is taken as fetched, has not come, and no later run will tell it"]

    def remembers_claim(self):
        """The next run tells of data that it could not hand back."""
        directory = self.path("state/registry")
        return any(b"ftp://127.0.0.1/" in self.read(os.path.join(directory, name)) for name in os.listdir(directory))

    def mutable_files(self):
        def is_whole(text):
            return lambda now, old: now in (old, text and text.encode()) or text is None and now is not None

        return super().mutable_files() | {name: is_whole(text) for name, text in self.fetched.items()}


class PackagePut(Embedded):
    """torvik-admin stores a new version of a package."""

    arguments = ["torvik-admin", "package", "put", "package.toml"]

    def prepare(self):
        super().prepare()
        self.write("package.toml", text_of("package.toml") + "# another version\n" + "#" * 5000 + "\n")

    def mutable_files(self):
        return {}

    def word(self, ended):
        return "ok" if ended.code == 0 else "failure"

    def log(self):
        return []


class JobSaved(PackagePut):
    """A job file is saved with other settings."""

    arguments = ["torvik-save-job", "job.etl", "Sales_Other"]
    secrets = ["AbCdEfGh"]

    def prepare(self):
        self.write("torvik.conf", "")
        self.write("jobs/job.etl", text_of("job.etl"))
        os.symlink("jobs/job.etl", self.path("job.etl"))
        self.run("torvik-save-job", "job.etl", "Sales_LoadDW")

    def databases(self):
        """The settings that are saved, without the passwords, which are scrambled anew each time."""
        return [line for line in (self.read("job.etl") or b"").splitlines() if b"Pwd" not in line]

    def mutable_files(self):
        return dict.fromkeys(["job.etl", "jobs/job.etl"], lambda now, old: now is not None)


SCENES = {"embedded": Embedded, "watched": Watched, "postgresql": PostgreSql, "remote": Remote, "put": PackagePut, "save": JobSaved}
