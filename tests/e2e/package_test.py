"""The package for Debian: made by README's own command from the build that the program stands in, installed by dpkg into a
root of its own, started there by a user who may write nothing of it, and removed again. README's "sudo apt" is not run: it
would change the packages of this machine, asks for a password and may need the net. What apt leaves to dpkg is done here."""

import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import unittest

import veltrane
from pictures import Window
from traffic import serve
from veltrane import Veltrane, free_port, listens, wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]
NOBODY = 65534
SIZES = (16, 22, 24, 32, 48, 64, 128, 256)
# Beside the program in its folder.
BESIDE = ("HTTPDNSError.txt", "PORTS.TXT", "Help/index.html", "Images/Cloud.gif", "images/Cloud.gif", "res/Cloud.bmp")


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}{done.stderr}")
    return done.stdout


def files(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir() or path.is_symlink())


def readme(pattern):
    """The one command of README that fits, and its groups."""
    (found,) = re.finditer(f"^{pattern}$", (ROOT / "README.md").read_text(encoding="utf-8"), re.MULTILINE)
    return found


class Installed(Veltrane):
    """As a user has it, whose data stands in a hidden folder."""

    def environment(self):
        values = super().environment()
        del values["XDG_DATA_HOME"]
        return values


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        build = pathlib.Path(veltrane.program()).parent.parent
        cache = build / "CMakeCache.txt"
        if not cache.exists() or "CMAKE_BUILD_TYPE:STRING=Release" not in cache.read_text():
            raise unittest.SkipTest(f"{build} is no release build, which alone is shipped")
        for tool in ("cpack", "dpkg", "dpkg-deb", "dpkg-shlibdeps"):
            if not veltrane.which(tool):
                raise unittest.SkipTest(f"{tool} is not installed")
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltrane-package-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.folder.chmod(0o755)
        # What README does in build/package of the release build is done in this folder, with this build.
        packing = shlex.split(readme(r"cpack --config build/release/.* -B build/package")[0])
        places = {"build/package": cls.folder / "cpack", "build/release/CPackConfig.cmake": build / "CPackConfig.cmake"}
        run(*(places.get(word, word) for word in packing), cwd=ROOT)
        (cls.package,) = (cls.folder / "cpack").glob(readme(r"sudo apt install \./build/package/(\S+)")[1])
        cls.unpacked = cls.folder / "unpacked"
        run("dpkg-deb", "-x", cls.package, cls.unpacked)
        cls.program = cls.unpacked / "usr/lib/veltrane/Veltrane"

    def field(self, name):
        return run("dpkg-deb", "-f", self.package, name).strip()

    def dpkg(self, root, *words):
        return run("dpkg", f"--root={root}", "--force-not-root", "--force-depends", f"--log={self.folder}/dpkg.log", *words)

    def empty_root(self, name):
        root = self.folder / name
        for part in ("updates", "info", "triggers", "parts"):
            (root / "var/lib/dpkg" / part).mkdir(parents=True)
        (root / "var/lib/dpkg/status").touch()
        return root

    def test_it_is_named_versioned_and_described(self):
        version = re.search(r"project\(Veltrane VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
        self.assertEqual(self.field("Package"), "veltrane")
        self.assertEqual(self.field("Version"), version + "-1")
        self.assertEqual(self.field("Homepage"), "https://veltrane.example/")
        architecture = run("dpkg", "--print-architecture").strip()
        self.assertEqual(self.package.name, f"veltrane_{version}-1_{architecture}.deb")
        self.assertIn("debugging proxy", self.field("Description"))

    def test_what_it_depends_on_is_what_the_program_links_and_is_there(self):
        wanted = re.findall(r"([a-z0-9.+-]+) \(>= ([^)]+)\)", self.field("Depends"))
        self.assertLessEqual({"libc6", "libqt6core6", "libqt6widgets6", "libqt6svg6"}, {name for name, _ in wanted})
        for name, least in wanted:
            there = run("dpkg-query", "-W", "-f=${Version}", name)
            run("dpkg", "--compare-versions", there, "ge", least)

    def test_everything_stands_in_its_place(self):
        there = set(files(self.unpacked))
        wanted = {f"usr/share/icons/hicolor/{size}x{size}/apps/veltrane.png" for size in SIZES}
        wanted |= {"usr/share/icons/hicolor/scalable/apps/veltrane.svg", "usr/share/man/man1/veltrane.1.gz"}
        wanted |= {"usr/share/applications/veltrane.desktop", "usr/bin/veltrane", "usr/lib/veltrane/Veltrane"}
        wanted |= {"usr/share/metainfo/example.veltrane.veltrane.metainfo.xml"}
        wanted |= {"usr/share/doc/veltrane/copyright", "usr/share/doc/veltrane/changelog.Debian.gz"}
        self.assertEqual({path for path in there if not path.startswith("usr/lib/veltrane/")} | {"usr/lib/veltrane/Veltrane"}, wanted)
        for name in BESIDE:
            self.assertTrue((self.program.parent / name).is_file(), name)
        for folder in ("Help", "Images", "res"):
            source = [name for name in files(ROOT / folder) if not name.endswith("README.md")]
            self.assertEqual(files(self.program.parent / folder), source, folder)
        self.assertEqual((self.unpacked / "usr/bin/veltrane").resolve(), self.program.resolve())
        for size in SIZES:
            icon = (self.unpacked / f"usr/share/icons/hicolor/{size}x{size}/apps/veltrane.png").read_bytes()
            self.assertEqual((icon[:8], icon[16:24]), (b"\x89PNG\r\n\x1a\n", size.to_bytes(4, "big") * 2))

    def test_all_may_read_it_and_nobody_may_write_it(self):
        listed = run("dpkg-deb", "-c", self.package).splitlines()
        modes = {line.split()[0] for line in listed}
        self.assertEqual(modes, {"drwxr-xr-x", "-rw-r--r--", "-rwxr-xr-x", "lrwxrwxrwx"})
        self.assertEqual({line.split()[1] for line in listed}, {"root/root"})
        self.assertEqual([line.split()[5] for line in listed if line.startswith("-rwx")], ["./usr/lib/veltrane/Veltrane"])

    def test_the_entry_of_the_menu_is_valid(self):
        self.need("desktop-file-validate")
        entry = self.unpacked / "usr/share/applications/veltrane.desktop"
        self.assertEqual(run("desktop-file-validate", entry), "")
        told = dict(line.split("=", 1) for line in entry.read_text().splitlines() if "=" in line)
        self.assertTrue((self.unpacked / "usr/bin" / told["Exec"]).is_symlink())
        self.assertTrue((self.unpacked / f"usr/share/icons/hicolor/scalable/apps/{told['Icon']}.svg").is_file())

    def test_the_description_for_software_centres_is_valid(self):
        self.need("appstreamcli")
        (description,) = (self.unpacked / "usr/share/metainfo").iterdir()
        run("appstreamcli", "validate", "--no-net", description)
        self.assertIn(f'version="{self.field("Version").removesuffix("-1")}"', description.read_text())

    def test_the_checker_of_packages_finds_no_error(self):
        self.need("lintian")
        environment = dict(os.environ, HOME=str(self.folder), LC_ALL="C.UTF-8")
        done = run("lintian", "--allow-root", "--no-cfg", "--fail-on", "none", self.package, env=environment)
        self.assertEqual([line for line in done.splitlines() if line.startswith("E:")], [])

    def need(self, tool):
        if not veltrane.which(tool):
            self.skipTest(f"{tool} is not installed")

    def install(self, name):
        """A root of its own with the package installed in it; the removal as README tells it, which leaves nothing."""
        root = self.empty_root(name)
        bare = files(root)
        self.dpkg(root, "-i", self.package)
        self.assertIn("install ok installed", self.dpkg(root, "-s", "veltrane"))
        installed = files(root / "usr")
        self.assertEqual(installed, files(self.unpacked / "usr"))

        def remove():
            self.assertEqual(files(root / "usr"), installed)
            self.dpkg(root, "-r", readme(r"sudo apt remove (\S+)")[1])
            self.assertFalse((root / "usr").exists())
            # What is left is dpkg's own.
            self.assertEqual([path for path in files(root) if path not in bare and not path.startswith("var/lib/dpkg/")], [])

        return root, remove

    def test_removed_it_leaves_nothing(self):
        _, remove = self.install("root")
        remove()

    def test_installed_it_serves_a_plain_user_and_then_is_removed_as_clean(self):
        for tool in ("setpriv", "Xvfb", "xdotool", "openbox", "import"):
            self.need(tool)
        root, remove = self.install("serving")
        self.serves(root / "usr/bin/veltrane")
        remove()

    def serves(self, program):
        """Started by its link, by a user who may not write where it stands: traffic, log file, report, clean end."""
        screen = veltrane.Screen()
        self.addCleanup(screen.close)
        os.environ["DISPLAY"] = screen.display
        if os.geteuid() != 0:
            for path in [program.parent.parent, *program.parent.parent.rglob("*")]:
                if path.is_dir():
                    path.chmod(0o555)
                    self.addCleanup(path.chmod, 0o755)
        server = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(server.close)
        threading.Thread(target=serve, args=(server,), daemon=True).start()
        port = free_port()
        with Installed(user=NOBODY if os.geteuid() == 0 else None, platform="xcb", command=program) as user:
            user.store.add_port(port, server="127.0.0.1", server_port=server.getsockname()[1])
            user.store.set("RealTimeLogging", "LoggingOn", 1)
            for path in [user.home, *user.home.rglob("*")]:
                if user.user is not None:
                    os.chown(path, user.user, user.user)
            user.start(listening=[port])
            with socket.create_connection(("127.0.0.1", port), timeout=10) as client:
                client.sendall(b"through the package")
                self.assertEqual(client.recv(100), b"THROUGH THE PACKAGE")
            log = user.home / ".local/share/Veltrane/Log/Log.txt"
            wait_for(lambda: log.exists() and b"THROUGH THE PACKAGE" in log.read_bytes(), 10, "the log file")
            self.save_as_proposed(screen)
            report = user.home / "Log.htm"
            wait_for(lambda: report.exists() and (user.home / "Log/Event1.htm").exists(), 10, "the report")
            self.assertTrue((user.home / "images/Cloud.gif").is_file())
            self.assertEqual(user.stop(signal.SIGTERM), (0, ""))
            self.assertFalse(listens(port))

    def save_as_proposed(self, screen):
        window = Window(screen)
        window.unfold(1, 2, 3)  # port, peer, connection
        window.open("t", "s", "^Save Data$")
        # Backwards from the first field: Cancel, Save.
        screen.key("shift+Tab", "shift+Tab", "space")
        screen.wait_until_closed("^Save Data$")


if __name__ == "__main__":
    veltrane.main()
