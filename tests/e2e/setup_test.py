"""What tools/setup would install on a bare Debian, resolved by apt as if nothing were installed: all that configuring,
building and packing need is among it. The lists of packages have to be there. How it installs is seen on a system that is
put before it. Nothing is installed."""

import functools
import pathlib
import re
import subprocess
import tempfile
import unittest

import veltrane

ROOT = pathlib.Path(__file__).resolve().parents[2]
PURPOSES = ("build", "display", "wayland", "demo", "test", "fuzz", "bench", "pictures")
# What is run by CMake, the build, cpack and its search for libraries, and the package that it comes from. Gzip, date and
# dpkg are on every Debian.
TOOLS = {
    "cmake": "cmake", "cpack": "cmake", "ninja": "ninja-build", "g++": "g++", "moc, uic, rcc": "qt6-base-dev-tools",
    "file": "file", "dpkg-shlibdeps": "dpkg-dev", "strip, readelf, objcopy": "binutils",
}  # fmt: skip
LIBRARIES = {"qt6-base-dev", "qt6-svg-dev", "libsqlite3-dev", "libgl-dev", "libc6-dev"}


def ask(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False, env={"PATH": "/usr/bin:/bin", "LC_ALL": "C"})


@functools.cache
def resolved(packages):
    """The names of all that apt would install for these where nothing is installed; none where it cannot."""
    done = ask("apt-get", "-s", "-o", "Dir::State::status=/dev/null", "--no-install-recommends", "install", *packages)
    return {line.split()[1] for line in done.stdout.splitlines() if line.startswith("Inst ")} if done.returncode == 0 else set()


def packages_for(purpose):
    return tuple(ask(ROOT / "tools" / "setup", purpose, "--list").stdout.split())


def headers(build):
    """The headers of the system that the objects of the program have included, those of tests and benches left out."""
    found, of_program = set(), False
    for line in ask("ninja", "-C", build, "-t", "deps").stdout.splitlines():
        if not line.startswith(" "):
            of_program = not line.startswith(("tests/", "bench/"))
        elif of_program and line.startswith("    /usr/include/"):
            found.add(line.strip())
    return found


def owners(files):
    """The packages that have installed them, by dpkg's own lists: "dpkg -S" would take half a minute."""
    lists = pathlib.Path("/var/lib/dpkg/info").glob("*.list")
    return {path.stem.partition(":")[0] for path in lists if not files.isdisjoint(path.read_text().splitlines())}


class Setup(unittest.TestCase):
    def setUp(self):
        if not veltrane.which("apt-get"):
            self.skipTest("apt-get is not installed")
        if ask("apt-cache", "show", "--no-all-versions", "cmake").returncode != 0:
            self.skipTest("apt has no lists of packages here; apt-get update fetches them")

    def test_every_purpose_names_packages_that_apt_can_install(self):
        self.assertNotIn((), [packages_for(purpose) for purpose in PURPOSES])
        packages = {name for purpose in PURPOSES for name in packages_for(purpose)}
        self.assertEqual(packages - resolved(tuple(sorted(packages))), set())

    def test_an_unknown_purpose_is_refused(self):
        self.assertEqual(ask(ROOT / "tools" / "setup", "dinner", "--list").returncode, 2)

    def test_a_build_and_its_package_have_their_tools_and_libraries(self):
        there = resolved(packages_for("build"))
        self.assertEqual({tool: package for tool, package in TOOLS.items() if package not in there}, {})
        self.assertEqual(LIBRARIES - there, set())

    def test_what_the_build_has_included_comes_out_of_it(self):
        used = headers(pathlib.Path(veltrane.program()).parent.parent)
        if not used:
            self.skipTest("the build keeps no record of what it has included")
        self.assertIn("qt6-base-dev", owners(used))
        self.assertEqual(owners(used) - resolved(packages_for("build")), set())

    def test_only_the_tests_need_the_library_of_tests(self):
        for purpose in PURPOSES:
            with self.subTest(purpose=purpose):
                self.assertEqual("libgmock-dev" in packages_for(purpose), purpose in ("test", "fuzz", "bench", "pictures"))


# Stand in for the system's own. What "installed" names is installed; sudo writes down what it is asked for, and keeps
# the system's files in a folder. To be installed, a package asks the policy of that moment, which is kept too.
STANDING_IN = {
    "id": "echo 1000",
    "dpkg-query": """for name in "${@:3}"; do ! grep -qx -- "$name" installed || echo "installed $name"; done""",
    "systemctl": "cat manager >/dev/null",
    "sudo": """echo "$*" >>asked
        while [[ $1 == *=* ]]; do shift; done
        case "$1 $2" in
          systemctl*) ;;
          "apt-get update") ;;
          apt-get*) cp policy-rc.d policy-then; . ./installing ;;
          *) exec "${@/#\\/usr\\/sbin/.}" ;;
        esac""",
}
FRONT = "DEBIAN_FRONTEND=noninteractive"
SERVERS = {"nginx-common": "nginx", "dovecot-core": "dovecot", "haproxy": "haproxy"}


class Installing(unittest.TestCase):
    def setUp(self):
        self.system = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="veltrane-setup-")))
        (self.system / "bin").mkdir()
        for name, text in STANDING_IN.items():
            path = self.system / "bin" / name
            path.write_text(f"#!/usr/bin/env bash\ncd {self.system}\n{text}\n")
            path.chmod(0o755)
        self.file("installed").touch()
        self.file("manager").touch()
        self.file("installing").write_text(f"printf '%s\\n' {' '.join(SERVERS)} >>installed")

    def file(self, name):
        return self.system / name

    def install(self, code=0):
        done = subprocess.run(
            [ROOT / "tools" / "setup", "test"], capture_output=True, text=True, check=False,
            env={"PATH": f"{self.system}/bin:/usr/bin:/bin", "LC_ALL": "C"},
        )  # fmt: skip
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def asked(self, begins):
        return [line.removeprefix(f"{FRONT} ") for line in self.file("asked").read_text().splitlines() if begins in line]

    def may_start(self, *words):
        """What the policy of the installation says; 101 means no."""
        return subprocess.run([self.file("policy-then"), *words], check=False).returncode == 0

    def test_servers_that_come_are_neither_started_nor_enabled(self):
        told = self.install()
        self.assertEqual([self.may_start(f"{name}.service", "start") for name in SERVERS.values()], [False] * 3)
        self.assertFalse(self.may_start("--quiet", "nginx", "(start)", "2"))
        self.assertTrue(self.may_start("cron.service", "restart"))
        (disabled,) = self.asked("systemctl")
        self.assertEqual(sorted(disabled.split()[:4]), ["--now", "--quiet", "disable", "systemctl"])
        self.assertEqual(sorted(disabled.split()[4:]), sorted(f"{name}.service" for name in SERVERS.values()))
        self.assertRegex(told.splitlines()[-1], "neither running nor started with the computer: .*haproxy")
        self.assertFalse(self.file("policy-rc.d").exists())

    def test_all_that_sudo_does_asks_no_questions(self):
        self.install()
        self.assertEqual(len(self.asked("apt-get")), 2)
        self.assertEqual([line for line in self.file("asked").read_text().splitlines() if "apt" in line and FRONT not in line], [])

    def test_a_server_that_was_there_stays_as_it_is(self):
        self.file("installed").write_text("nginx-common\n")
        told = self.install()
        self.assertTrue(self.may_start("nginx.service", "restart"))
        self.assertFalse(self.may_start("haproxy.service", "start"))
        self.assertNotIn("nginx", self.asked("systemctl")[0] + told.splitlines()[-1])

    def test_where_no_server_came_nothing_is_said_of_them(self):
        self.file("installed").write_text("\n".join(SERVERS))
        self.file("installing").write_text("")
        self.file("policy-rc.d").write_text("")
        self.assertEqual(len(self.install().splitlines()), 1)
        self.assertEqual(self.asked("systemctl"), [])
        self.assertEqual(self.file("policy-rc.d").read_text(), "")

    def test_the_policy_of_the_administrator_stays(self):
        self.file("policy-rc.d").write_text("exit 0")
        self.install()
        self.assertEqual(self.file("policy-then").read_text(), "exit 0")
        self.assertEqual(self.file("policy-rc.d").read_text(), "exit 0")

    def test_a_failed_or_ended_installation_leaves_no_policy(self):
        for what, code in (("exit 1", 1), ("kill -TERM $PPID", -15)):
            with self.subTest(what=what):
                self.file("installing").write_text(what)
                self.install(code)
                self.assertTrue(self.file("policy-then").exists())
                self.assertFalse(self.file("policy-rc.d").exists())
                self.file("policy-then").unlink()

    def test_what_a_failed_or_ended_installation_has_brought_is_not_left_enabled(self):
        for what, code in (("exit 1", 1), ("kill -TERM $PPID", -15)):
            with self.subTest(what=what):
                self.file("asked").unlink(missing_ok=True)
                self.file("installed").write_text("")
                self.file("installing").write_text(f"echo nginx-common >>installed; {what}")
                self.install(code)
                self.assertEqual(self.asked("systemctl")[0].split()[-1], "nginx.service")

    def test_who_may_not_install_is_told_of_no_policy(self):
        (self.system / "bin" / "sudo").write_text("#!/bin/sh\nexit 1\n")
        told = self.install(1)
        self.assertIn("could not be installed", told)
        self.assertNotIn("policy", told)

    def test_where_no_manager_of_services_runs_none_is_told(self):
        self.file("manager").unlink()
        self.install()
        self.assertEqual(self.asked("systemctl"), [])

    def test_the_servers_have_the_names_of_their_packages_services(self):
        (told,) = re.findall(r"^declare -A servers=\((.*)\)$", (ROOT / "tools" / "setup").read_text(), re.MULTILINE)
        self.assertEqual(dict(re.findall(r"\[(\S+)\]=(\S+)", told)), SERVERS)
        for package, name in SERVERS.items():
            listed = pathlib.Path(f"/var/lib/dpkg/info/{package}.list")
            if listed.exists():
                self.assertIn(f"/lib/systemd/system/{name}.service", listed.read_text().splitlines())


if __name__ == "__main__":
    veltrane.main()
