"""Real mail clients through a POP3 port to a real mail server, named inside the user name."""

import poplib
import socket
import unittest

import servers
import veltrane


def messages():
    """Messages with the line ends of the wire, the last of them long."""
    head = "From: a@example.org\r\nTo: fred@example.org\r\nSubject: Number {}\r\n\r\n"
    bodies = ["", "one line\r\n", ".dots\r\n..two\r\n.\r\n", "äöü\r\n" * 1000, ("x" * 900 + "\r\n") * 5000]
    return [(head.format(number) + body).encode() for number, body in enumerate(bodies)]


class Mail(veltrane.ProgramTest):
    def setUp(self):
        self.need("dovecot")
        self.mail = servers.MailServer()
        self.addCleanup(self.mail.close)

    def start(self):
        return self.serve("POP3", Port=self.mail.port)

    def log_in(self, port, user="fred", password=servers.MailServer.PASSWORD, host="127.0.0.1"):
        client = poplib.POP3("127.0.0.1", port, timeout=20)
        self.addCleanup(client.close)
        self.assertEqual(client.getwelcome(), b"+OK")
        client.user(f"{user}#{host}")
        if password:
            client.pass_(password)
        return client

    def test_messages_are_fetched_byte_for_byte(self):
        sent = messages()
        for number, content in enumerate(sent):
            self.mail.deliver("fred", number, content)
        run, port = self.start()
        before = run.descriptors()
        for host in ("127.0.0.1", "localhost"):
            client = self.log_in(port, host=host)
            self.assertEqual(client.stat()[0], len(sent))
            for number, content in enumerate(sent):
                lines = client.retr(number + 1)[1]
                self.assertEqual(b"".join(line + b"\r\n" for line in lines), content)
            client.quit()
        self.expect_quiet(run, before)

    def test_two_users_at_once_and_a_message_is_deleted(self):
        self.mail.deliver("fred", 1, b"Subject: for fred\r\n\r\n")
        self.mail.deliver("anna", 1, b"Subject: for anna\r\n\r\n")
        run, port = self.start()
        before = run.descriptors()
        fred, anna = self.log_in(port), self.log_in(port, "anna")
        self.assertEqual(fred.retr(1)[1][0], b"Subject: for fred")
        self.assertEqual(anna.retr(1)[1][0], b"Subject: for anna")
        anna.dele(1)
        anna.quit()
        fred.quit()
        client = self.log_in(port, "anna")
        self.assertEqual(client.stat(), (0, 0))
        client.quit()
        self.expect_quiet(run, before)

    def test_a_wrong_password_is_the_servers_to_tell(self):
        run, port = self.start()
        before = run.descriptors()
        client = self.log_in(port, password=None)
        with self.assertRaises(poplib.error_proto) as caught:
            client.pass_("wrong")
        self.assertIn(b"Authentication failed", caught.exception.args[0])
        client.quit()
        self.expect_quiet(run, before)

    def converse(self, port, first):
        """What a client that begins with first sees, up to the end."""
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(20)
            client.sendall(first)
            return client.makefile("rb").read()

    def test_a_login_without_a_server_ends_after_the_greeting(self):
        run, port = self.start()
        before = run.descriptors()
        for first in (b"USER fred\r\n", b"USER a#b#c\r\n", b"CAPA\r\n", b"USER fred#no-such-host.invalid\r\n"):
            self.assertEqual(self.converse(port, first), b"+OK\r\n", first)
        run.store.set("Protocols\\POP3", "NoSiteError", "-ERR no such server\r\n")
        self.assertEqual(self.converse(port, b"USER a\r\n"), b"+OK\r\n-ERR no such server\r\n")
        self.expect_quiet(run, before, no_site=(b"", b"-ERR no such server\r\n"))

    def test_a_client_that_asks_for_capabilities_first_has_no_destination(self):
        # curl always does, so it cannot log in through such a port: the first line must name the server.
        self.need("curl")
        run, port = self.start()
        before = run.descriptors()
        login = f"fred%23127.0.0.1:{self.mail.PASSWORD}"
        # 56: the connection ended before the answer.
        self.run_client("curl", "-sS", "--noproxy", "*", f"pop3://{login}@127.0.0.1:{port}/", expect=56)
        self.expect_quiet(run, before)


if __name__ == "__main__":
    veltrane.main()
