"""Real servers on private ports and folders, started and stopped by the tests as ordinary processes."""

import grp
import os
import pathlib
import pwd
import shutil
import subprocess
import sys
import tempfile

import veltrane
from veltrane import free_port, wait_for


class Server:
    """A process with a folder of its own."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltrane-server-"))
        self.process = None

    def start(self, command, ports, name, **options):
        self.process = subprocess.Popen([str(word) for word in command], **options)
        for port in ports:
            wait_for(lambda: veltrane.listens(port) or self.process.poll() is not None, 20, name)
        if self.process.poll() is not None:
            raise AssertionError(f"{name} has ended")

    def close(self):
        if self.process:
            self.process.terminate()
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)


def make_certificate(folder):
    """A certificate for this machine's own names that signs itself; gives certificate and key."""
    certificate, key = folder / "server.crt", folder / "server.key"
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=localhost"]
        + ["-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1", "-out", certificate, "-keyout", key],
        check=True,
        capture_output=True,
    )
    return certificate, key


class WebServer(Server):
    """nginx: files from www, uploads kept by PUT and POST to /up/, and the same with TLS on a second port."""

    def __init__(self, tls=False):
        super().__init__()
        self.port = free_port()
        for name in ("www", "tmp", "up"):
            (self.folder / name).mkdir()
        listening = [self.port]
        secure = ""
        if tls:
            self.tls_port = free_port()
            self.certificate, key = make_certificate(self.folder)
            listening.append(self.tls_port)
            secure = f"listen 127.0.0.1:{self.tls_port} ssl; ssl_certificate {self.certificate}; ssl_certificate_key {key};"
        config = self.folder / "nginx.conf"
        config.write_text(
            f"""
daemon off;
worker_processes 1;
pid {self.folder}/nginx.pid;
error_log {self.folder}/error.log;
{"user root;" if os.geteuid() == 0 else ""}
events {{ worker_connections 2000; }}
http {{
  log_format line '$request';
  access_log {self.folder}/access.log line;
  types {{ text/html html; image/svg+xml svg; }}
  client_max_body_size 0;
  client_body_temp_path {self.folder}/tmp;
  proxy_temp_path {self.folder}/tmp/p;
  fastcgi_temp_path {self.folder}/tmp/f;
  uwsgi_temp_path {self.folder}/tmp/u;
  scgi_temp_path {self.folder}/tmp/s;
  server {{
    listen 127.0.0.1:{self.port};
    {secure}
    location / {{ root {self.folder}/www; }}
    location /up/ {{ root {self.folder}; client_body_in_file_only on; proxy_pass http://127.0.0.1:{self.port}/done; proxy_method GET; proxy_pass_request_body off; proxy_set_header Content-Length 0; }}
    location /done {{ access_log off; return 200 "done\\n"; }}
  }}
}}
"""
        )
        self.start([veltrane.which("nginx"), "-c", config, "-p", self.folder], listening, "nginx")

    def put(self, name, content):
        (self.folder / "www" / name).write_bytes(content)

    def uploaded(self):
        return [path for path in (self.folder / "tmp").iterdir() if path.is_file()]

    def requests(self, count):
        """The request lines as the server got them; a line is written a moment after its client has its answer."""
        read = (self.folder / "access.log").read_text
        wait_for(lambda: len(read().splitlines()) >= count, 10, f"{count} requests in the server's log")
        return read().splitlines()


class MailServer(Server):
    """dovecot with POP3: any user, one password, a maildir for each."""

    PASSWORD = "secret"

    def __init__(self):
        super().__init__()
        self.port = free_port()
        if os.geteuid() == 0:
            # Mail is never read as the administrator, and the folder's way in is for all.
            mail, login, internal = pwd.getpwnam("nobody"), "dovenull", "dovecot"
            group = "dovecot"
        else:
            mail = pwd.getpwuid(os.geteuid())
            login = internal = mail.pw_name
            group = grp.getgrgid(mail.pw_gid).gr_name
        self.owner = mail
        self.folder.chmod(0o755)
        self.mail = self.folder / "mail"
        self.mail.mkdir()
        os.chown(self.mail, mail.pw_uid, mail.pw_gid)
        config = self.folder / "dovecot.conf"
        config.write_text(
            f"""
base_dir = {self.folder}/run
state_dir = {self.folder}/state
log_path = {self.folder}/log
protocols = pop3
listen = 127.0.0.1
ssl = no
disable_plaintext_auth = no
default_internal_user = {internal}
default_internal_group = {group}
default_login_user = {login}
first_valid_uid = 1
first_valid_gid = 1
mail_location = maildir:{self.mail}/%u
passdb {{
  driver = static
  args = password={self.PASSWORD}
}}
userdb {{
  driver = static
  args = uid={mail.pw_uid} gid={mail.pw_gid} home={self.mail}/%u
}}
service anvil {{
  chroot =
}}
service pop3-login {{
  chroot =
  inet_listener pop3 {{
    port = {self.port}
  }}
  inet_listener pop3s {{
    port = 0
  }}
}}
"""
        )
        self.start([veltrane.which("dovecot"), "-F", "-c", config], [self.port], "dovecot")

    def deliver(self, user, number, content):
        """Puts a message, with the line ends of the wire, into a user's maildir."""
        box = self.mail / user
        for name in ("", "new", "cur", "tmp"):
            (box / name).mkdir(exist_ok=True)
            os.chown(box / name, self.owner.pw_uid, self.owner.pw_gid)
        path = box / "new" / f"{1000 + number}.M{number}.host"
        path.write_bytes(content)
        os.chown(path, self.owner.pw_uid, self.owner.pw_gid)


class FileServer(Server):
    """An FTP server with one user, who may read and write the folder "files"."""

    USER = "UserId"
    PASSWORD = "pass"

    def __init__(self, port=None):
        super().__init__()
        self.port = port or free_port()
        self.files = self.folder / "files"
        self.files.mkdir()
        command = [sys.executable, "-m", "pyftpdlib", "-i", "127.0.0.1", "-p", self.port, "-w"]
        command += ["-d", self.files, "-u", self.USER, "-P", self.PASSWORD]
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.start(command, [self.port], "the FTP server", **quiet)
