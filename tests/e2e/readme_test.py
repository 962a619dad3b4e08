"""Every command of README.md, run or checked: those of the user as they stand, against real servers, with the names and
ports of here in place of README's; long ones in a form that does no work. A command that is not in the table fails."""

import functools
import json
import os
import pathlib
import re
import shlex
import sqlite3
import subprocess
import sys
import tempfile

import servers
import veltrane
from veltrane import Store, Veltrane, free_port

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = b"<p>the page</p>"
PRESETS = json.loads((ROOT / "CMakePresets.json").read_text())
# The first words that make a command of a word in the text.
PROGRAMS = ("./", "tools/", "cmake ", "ctest ", "cpack ", "curl ", "lftp ", "sqlite3 ", "sudo ", "python3 ", "sysctl ")


def blocks(text):
    """The lines of the blocks of commands, without the comments behind them."""
    for block in re.findall(r"^```sh\n(.*?)^```", text, re.MULTILINE | re.DOTALL):
        yield from (re.sub(r"\s{2,}#.*", "", line).strip() for line in block.splitlines())


def commands(text):
    """Each command of the file: the lines of its blocks, of which "&&" makes several, and what is one in the text."""
    found = []
    for line in blocks(text):
        found += [line] if "sqlite3" in line else line.split(" && ")
    plain = re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL)
    found += [word for word in re.findall(r"`([^`]+)`", plain) if word.startswith(PROGRAMS) and not word.endswith("/")]
    return dict.fromkeys(found)


class Readme(veltrane.ProgramTest):
    @classmethod
    def setUpClass(cls):
        cls.text = (ROOT / "README.md").read_text(encoding="utf-8")
        cls.builds = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="veltrane-presets-")))

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="veltrane-readme-")))

    def shell(self, command, **values):
        done = subprocess.run(
            ["bash", "-c", command], cwd=values.pop("cwd", ROOT), env=dict(os.environ, HOME=str(self.folder), **values),
            capture_output=True, text=True, timeout=120, check=False,
        )  # fmt: skip
        self.assertEqual(done.returncode, 0, (command, done.stdout[-2000:], done.stderr[-2000:]))
        return done.stdout

    # What the table names.

    def script(self, command):
        """A shell script of the project: bash understands it."""
        path = ROOT / shlex.split(command)[0]
        self.assertTrue(os.access(path, os.X_OK), path)
        self.shell(f"bash -n {path}")

    def start(self, command):
        """demo_test and start_test start the program; here, that the script knows the word."""
        self.assertIn(command, self.shell("./run --help"))
        self.script(command)

    def python(self, command):
        """A script that tells what it does, and does nothing, when it is asked for help."""
        path = next(word for word in shlex.split(command) if "/" in word)
        self.shell(f"{sys.executable} -B {path} --help")

    def pictures(self, command):
        """It takes as long as the windows need to be looked at; here, that the words reach the script that takes them."""
        self.assertIn(command, self.shell("./run --help"))
        self.assertEqual(self.shell(f"{command} --help"), self.shell("tools/take-pictures --help"))

    def drawing(self, command):
        """Drawn is what has the word in its name: nothing."""
        for module in ("cairo", "PIL"):
            if subprocess.run([sys.executable, "-c", f"import {module}"], capture_output=True, check=False).returncode:
                self.skipTest(f"{module} is not installed")
        self.shell(f"{sys.executable} -B {command} no-picture-has-this-name")

    def packages(self, command):
        """setup_test looks at what it would install; here, that the script knows the purpose."""
        self.assertNotEqual(self.shell(f"{command} --list").split(), [])

    def configure(self, command):
        """Configured into another folder: the preset's own may be in use."""
        self.assertIn("all", self.targets(command.split()[2]))

    @functools.cache
    def targets(self, preset):
        """What the build of a preset can make."""
        self.need("cmake", "ninja", *(["clang++"] if preset == "fuzz" else []))
        self.shell(f"cmake --preset {preset} -B {self.builds / preset}")
        return {line.split(":")[0] for line in self.shell(f"ninja -C {self.builds / preset} -t targets all").splitlines()}

    def build(self, command):
        """Its targets are there; ./test makes those of release and asan, whose tests these are."""
        words = command.split()
        (preset,) = [row for row in PRESETS["buildPresets"] if row["name"] == words[3]]
        wanted = words[5:6] if "--target" in words else preset.get("targets", ["all"])
        self.assertEqual(set(wanted) - self.targets(preset["configurePreset"]), set())

    def validation(self, command):
        """Run in that other folder: it finds nothing wrong."""
        self.build(command)
        self.need("clang-format", "desktop-file-validate", "appstreamcli")
        self.shell(f"cmake --build {self.builds / 'release'} --target validate")

    def suite(self, command):
        self.assertIn(f'"{command.split()[2]}"', self.shell("ctest --list-presets"))

    def packing(self, command):
        """package_test takes these three out of README: it runs the first with other folders, and does the work of the
        others with dpkg in a root of its own. "sudo apt" itself would change the packages of this machine."""
        taken = re.findall(r'readme\(r"(.*?)"\)', (ROOT / "tests" / "e2e" / "package_test.py").read_text())
        self.assertEqual(len([pattern for pattern in taken if re.fullmatch(pattern, command)]), 1, taken)

    def bench(self, command):
        name = pathlib.PurePath(command).name
        self.assertIn(f"add_executable({name} ", (ROOT / "bench" / "CMakeLists.txt").read_text())

    def sysctl(self, command):
        key, value = re.search(r"([a-z_.0-9]+)=(\d+)", command).groups()
        self.assertTrue(pathlib.Path("/proc/sys", *key.split(".")).exists())
        self.assertEqual(value, "21", "the lowest of the first start's ports")

    def kept_sysctl(self, command):
        file = self.folder / "50-veltrane.conf"
        self.shell(command.replace("sudo ", "").replace("/etc/sysctl.d/50-veltrane.conf", str(file)))
        self.sysctl(file.read_text())

    # Clients, each with a run of the program.

    def through(self, protocol, command, wanted, places, **settings):
        """The command, with the places of here, gets what is wanted. They are put in one after the other: no later
        one may stand in what an earlier one has put in."""
        run, port = self.serve(protocol, **settings)
        for there, here in {key: value.format(port=port) for key, value in places.items()}.items():
            self.assertIn(there, command)
            command = command.replace(there, here)
        values = {key: "" for key in os.environ if key.lower().endswith("_proxy")}
        self.assertIn(wanted, self.shell(command, **values))
        self.assertEqual(run.stop()[0], 0)

    def web(self, command):
        self.need("nginx", "curl")
        site = servers.WebServer()
        self.addCleanup(site.close)
        site.put("index.html", PAGE)
        self.through("HTTP", command, PAGE.decode(), {
            "curl ": "curl --noproxy '' ", "127.0.0.1:8080": "127.0.0.1:{port}", "example.org/": f"127.0.0.1:{site.port}/"
        })  # fmt: skip

    def secure(self, command):
        self.need("nginx", "curl", "openssl")
        site = servers.WebServer(tls=True)
        self.addCleanup(site.close)
        site.put("index.html", PAGE)
        self.through("HTTPS", command, PAGE.decode(), {
            "curl ": f"curl --noproxy '' --cacert {site.certificate} ", "127.0.0.1:443": "127.0.0.1:{port}",
            "example.org/": f"localhost:{site.tls_port}/",
        })  # fmt: skip

    def own(self, command):
        self.need("nginx", "curl")
        site = servers.WebServer()
        self.addCleanup(site.close)
        site.put("index.html", PAGE)
        self.through("Pass Through", command, PAGE.decode(), {"127.0.0.1:1000": "127.0.0.1:{port}"},
                     Server="127.0.0.1", Port=site.port)  # fmt: skip

    def file_site(self):
        try:
            import pyftpdlib  # noqa: F401
        except ImportError:
            self.skipTest("pyftpdlib is not installed")
        site = servers.FileServer()
        self.addCleanup(site.close)
        (site.files / "prices.txt").write_text("apples")
        return site

    def curl_files(self, command):
        self.need("curl")
        site = self.file_site()
        self.through("FTP", command, "prices.txt", {
            "anonymous%40ftp.example.org:me@127.0.0.1:21": f"{site.USER}%40127.0.0.1%3A{site.port}:{site.PASSWORD}@127.0.0.1:{{port}}"
        })  # fmt: skip

    def lftp_files(self, command):
        self.need("lftp")
        site = self.file_site()
        self.through("FTP", command, "prices.txt", {
            "127.0.0.1:21": "127.0.0.1:{port}", "UserId@ftp.example.org,secret": f"{site.USER}@127.0.0.1:{site.port},{site.PASSWORD}"
        })  # fmt: skip

    # Settings.

    def stored(self, command, section, key, before=(), cwd=ROOT):
        """The rows of a key after the command, which finds those of before."""
        self.need("sqlite3")
        store = Store(self.folder / ".config" / "Veltrane" / "settings.db")
        connection = store.connect()
        connection.executemany("INSERT INTO settings VALUES ('Veltrane', ?, ?, ?)", [(section, key, text) for text in before])
        connection.close()
        self.shell(command, cwd=cwd)
        return [value for name, value in store.section(section) if name == key]

    def mail_server(self, command):
        rows = self.stored(command, "Protocols\\Pass Through\\Port 25", "Server", ["enter-your-mail-server.invalid"])
        self.assertEqual(rows, ["mail.example.org"])

    def no_web_site(self, command):
        rows = self.stored(command, "Protocols\\HTTP", "NoSiteError", ["an old text", "an older one"])
        text = (ROOT / "HTTPDNSError.txt").read_text()
        self.assertEqual(rows, [text.replace("\n", "\r\n")])
        # A client gets it.
        run, port = self.serve("HTTP")
        run.store.set("Protocols\\HTTP", "NoSiteError", rows[0])
        got = self.run_client("curl", "-sS", "--noproxy", "", "-x", f"http://127.0.0.1:{port}", "http://no.such.name.invalid/")
        self.assertIn(rows[0].split("\r\n\r\n")[1].encode(), got)
        # Without the file the old text stays.
        with self.assertRaises(AssertionError):
            self.stored(command, "Protocols\\HTTP", "NoSiteError", cwd=self.folder)
        connection = sqlite3.connect(self.folder / ".config" / "Veltrane" / "settings.db")
        self.assertEqual(connection.execute("SELECT value FROM settings WHERE key = 'NoSiteError'").fetchall(), [(rows[0],)])
        connection.close()

    def no_mail_site(self, command):
        rows = self.stored(command, "Protocols\\POP3", "NoSiteError", ["an old text"])
        self.assertEqual(rows, ["-ERR no such server\r\n"])

    def installed(self, command):
        """package_test starts the program by this name."""
        self.assertIn('"usr/bin/veltrane"', (ROOT / "tests" / "e2e" / "package_test.py").read_text())

    # How each command is looked at: the first pattern that fits its beginning.
    TABLE = (
        (r"\./run( --demo)?$", start),
        (r"\./test$", script),
        (r"curl -x http://127.0.0.1:8080 ", web),
        (r"curl -x http://127.0.0.1:443 ", secure),
        (r"curl --disable-epsv ", curl_files),
        (r"curl --connect-to ", own),
        (r"lftp -e ", lftp_files),
        (r"sudo sysctl ", sysctl),
        (r"echo net.ipv4", kept_sysctl),
        (r"sqlite3 [^ ]+ \"UPDATE", mail_server),
        (r"test -r HTTPDNSError.txt && sqlite3 ", no_web_site),
        (r"sqlite3 [^ ]+ \"BEGIN; .*POP3", no_mail_site),
        (r"tools/setup [a-z]+$", packages),
        (r"cmake --preset [a-z]+$", configure),
        (r"cmake --build --preset release --target validate$", validation),
        (r"cmake --build --preset [a-z]+( --target [A-Za-z]+)?$", build),
        (r"ctest --preset release$", suite),
        (r"cpack --config build/release/CPackConfig.cmake -B build/package$", packing),
        (r"sudo apt install ./build/package/veltrane_\*.deb$", packing),
        (r"sudo apt remove veltrane$", packing),
        (r"veltrane$", installed),
        (r"tools/check-(format --fix|tidy --all)$", script),
        (r"python3 bench/[a-z]+\.py$", python),
        (r"build/release/bin/saving$", bench),
        (r"tools/draw-pictures$", drawing),
        (r"\./run --demo --pictures$", pictures),
    )

    def test_every_command_is_known_and_does_what_it_should(self):
        found = commands(self.text)
        self.assertGreater(len(found), 25)
        used = set()
        for command in found:
            with self.subTest(command=command):
                looks = [(pattern, look) for pattern, look in self.TABLE if re.match(pattern, command)]
                self.assertTrue(looks, "a command that nobody looks at")
                used.add(looks[0][0])
                looks[0][1](self, command)
        self.assertEqual([pattern for pattern, _ in self.TABLE if pattern not in used], [], "no such command is left")

    def test_what_it_links_and_shows_is_there(self):
        for target in re.findall(r"\]\(([^)]+)\)", self.text):
            self.assertTrue((ROOT / target).exists(), target)
        for line in re.findall(r"^\| (`[a-zA-Z].*/`.*?) \|", self.text, re.MULTILINE):
            for folder in re.findall(r"`([a-zA-Z]+/)`", line):
                self.assertTrue((ROOT / folder).is_dir(), folder)

    def test_its_table_tells_the_ports_of_the_first_start(self):
        told = dict(re.findall(r"^\| (\d+) \| ([A-Za-z0-9 ]+?) \|", self.text, re.MULTILINE))
        with Veltrane(first_run=True) as run:
            run.start(served=False)
            veltrane.wait_for(lambda: run.store.get("FirstRun", "FirstRun") == "False", 15, "the port table")
            self.assertEqual(dict(run.store.section("Protocols")), told)
            run.stop()


if __name__ == "__main__":
    veltrane.main()
