"""What tools/setup would install on a bare Debian, resolved by apt as if nothing were installed: all that configuring,
building and packing need is among it. Nothing is installed; the lists of packages have to be there."""

import functools
import pathlib
import subprocess
import unittest

import veltrane

ROOT = pathlib.Path(__file__).resolve().parents[2]
PURPOSES = ("build", "display", "demo", "test", "fuzz", "bench", "pictures")
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
                self.assertEqual("libgmock-dev" in packages_for(purpose), purpose in ("test", "fuzz", "bench"))


if __name__ == "__main__":
    veltrane.main()
