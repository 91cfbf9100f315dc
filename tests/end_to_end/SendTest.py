"""Sending a package over the loopback network, fetched by curl and by clients that behave badly"""
import contextlib
import os
import pty
import re
import signal
import socket
import subprocess
import time
import unittest
from pathlib import Path
from urllib.parse import urlsplit

from harness import PROGRAM, Case

SIZE = 30_000_000


class Sending(Case):
    def setUp(self):
        super().setUp()
        self.content = os.urandom(SIZE)
        self.package = self.write("App 2.ipa", self.content)

    @contextlib.contextmanager
    def server(self, *options, package="App 2.ipa", **more):
        """A running server, with its first address in `url`."""
        run = subprocess.Popen([PROGRAM, "send", package, "--interface", "lo", *options],
                               cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               bufsize=0, **more)
        try:
            run.url = run.stdout.readline().decode().rstrip("\n")
            yield run
        finally:
            if run.poll() is None:
                run.kill()
            run.communicate()

    def end(self, run, code=130):
        """Ends a server by Ctrl-C; returns what it has said meanwhile."""
        if run.poll() is None and code == 130:
            run.send_signal(signal.SIGINT)
        _, err = run.communicate(timeout=60)
        self.assertEqual(run.returncode, code, err)
        return err.decode()

    def curl(self, *arguments, code=0):
        ran = subprocess.run(["curl", "--silent", "--show-error", "--noproxy", "*", "--max-time", "60",
                              *arguments], cwd=self.folder, capture_output=True, check=False)
        self.assertEqual(ran.returncode, code, ran.stderr)
        return ran.stdout

    def status(self, *arguments):
        return int(self.curl("--output", "/dev/null", "--write-out", "%{http_code}", "--path-as-is",
                             *arguments))


class Fetching(Sending):
    def testWholeFileUnderItsName(self):
        with self.server() as run:
            (self.folder / "phone").mkdir()
            self.curl("--remote-name", "--remote-header-name", "--output-dir", "phone", run.url)
            self.assertEqual((self.folder / "phone/App 2.ipa").read_bytes(), self.content)

    def testPartsAndHead(self):
        with self.server() as run:
            self.assertEqual(self.curl("--range", "5-9", run.url), self.content[5:10])
            self.assertEqual(self.curl("--range", "-7", run.url), self.content[-7:])
            self.assertEqual(self.status("--range", f"{SIZE}-", run.url), 416)
            head = self.curl("--head", run.url).decode()
            self.assertIn(f"\r\nContent-Length: {SIZE}\r\n", head)
            self.assertIn("\r\nAccept-Ranges: bytes\r\n", head)
            self.assertIn("\r\nCache-Control: no-store\r\n", head)
            self.assertIn('filename="App 2.ipa"', head)
            tag = re.search(r'ETag: ("[^"]+")', head)[1]
            self.assertEqual(self.curl("--range", "0-0", "--header", f"If-Range: {tag}", run.url),
                             self.content[:1])
            whole = self.curl("--range", "0-0", "--header", 'If-Range: "x"', run.url)
            self.assertEqual(whole, self.content)

    def testResumesAfterABreak(self):
        with self.server() as run:
            # It is cut off by time, in the middle.
            self.curl("--limit-rate", "20M", "--max-time", "0.5", "--output", "got", run.url, code=28)
            got = (self.folder / "got").stat().st_size
            self.assertTrue(0 < got < SIZE, got)
            self.curl("--continue-at", "-", "--output", "got", run.url)
            self.assertEqual((self.folder / "got").read_bytes(), self.content)
            self.assertIn("Sent completely, 30.0 MB", self.end(run))

    def testTwoClientsAtOnce(self):
        with self.server() as run:
            clients = [subprocess.Popen(["curl", "--silent", "--noproxy", "*", "--output", name, run.url],
                                        cwd=self.folder) for name in ("one", "two")]
            for client in clients:
                self.assertEqual(client.wait(60), 0)
            for name in ("one", "two"):
                self.assertEqual((self.folder / name).read_bytes(), self.content)
            self.assertIn("Sent completely 2 times, 30.0 MB", self.end(run))

    def testBothFamiliesOfAddresses(self):
        with self.server() as run:
            self.assertTrue(run.url.startswith("http://127.0.0.1:"), run.url)
            addresses = Path("/proc/net/if_inet6")
            if not addresses.exists() or not re.search(r" lo$", addresses.read_text(), re.MULTILINE):
                self.skipTest("there is no IPv6 here")
            second = run.stdout.readline().decode().rstrip("\n")
            self.assertTrue(second.startswith("http://[::1]:"), second)
            self.assertEqual(self.curl("--range", "0-3", "--globoff", second), self.content[:4])

    def testLargeFileNeedsNoMemory(self):
        os.truncate(self.package, 5 << 30)
        with self.server() as run:
            self.assertEqual(self.curl("--range", f"{(5 << 30) - 3}-", run.url), b"\0\0\0")
            self.curl("--output", "/dev/null", "--range", "0-999999999", run.url)
            with open(f"/proc/{run.pid}/status") as status:
                peak = int(re.search(r"VmHWM:\s+(\d+) kB", status.read())[1])
            if not os.environ.get("VELLOMIR_SANITIZE"):
                self.assertLess(peak, 40_000)


class Refusals(Sending):
    def testOtherAddresses(self):
        with self.server() as run:
            base, token = run.url.rsplit("/", 1)
            for path in ["/", "/App%202.ipa", "/../App 2.ipa".replace(" ", "%20"), f"/{token}/",
                         f"//{token}", f"/{token}?a", f"/%2e%2e/{token}", f"/{token[:-1]}", "/" + "A" * 26,
                         f"/./{token}", "/etc/passwd", "/../../../../etc/passwd"]:
                self.assertEqual(self.status(base + path), 404, path)
            self.assertEqual(self.status(f"{base}/{token.lower()}"), 200, "typed by hand")

    def testOtherHostsAndMethods(self):
        with self.server() as run:
            port = urlsplit(run.url).port
            for host in ["evil.example", f"localhost:{port}", "127.0.0.1", f"127.0.0.2:{port}"]:
                self.assertEqual(self.status("--header", f"Host: {host}", run.url), 421, host)
            for method in ["POST", "PUT", "DELETE", "OPTIONS", "PROPFIND"]:
                self.assertEqual(self.status("--request", method, run.url), 405, method)
            self.assertEqual(self.status("--data", "x" * 100_000, run.url), 405)
            self.assertEqual(self.status("--request", "GET", "--data", "x", run.url), 413)
            # What would be encrypted is refused at once.
            self.curl(run.url.replace("http:", "https:"), code=35)

    def testOnlyTheShownAddressListens(self):
        with self.server() as run:
            port = urlsplit(run.url).port
            with self.assertRaises(ConnectionRefusedError):
                socket.create_connection(("127.0.0.2", port), 10)

    def testBadClientsDoNotKeepOthersOut(self):
        with self.server() as run:
            place = urlsplit(run.url)

            def connect(source="127.0.0.2"):
                return socket.create_connection((place.hostname, place.port), 30, (source, 0))
            held = [connect(f"127.0.0.{number % 6 + 2}") for number in range(60)]
            slow, endless, reset = connect("127.0.0.9"), connect("127.0.0.9"), connect("127.0.0.9")
            slow.sendall(b"GET / HT")
            with contextlib.suppress(ConnectionError):
                for _ in range(1000):
                    endless.sendall(b"X" * 100_000)
            reset.sendall(f"GET {place.path} HTTP/1.1\r\nHost: {place.netloc}\r\n\r\n".encode())
            reset.recv(1000)
            reset.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
            reset.close()
            self.assertEqual(self.curl("--output", "/dev/null", "--write-out", "%{size_download}",
                                       run.url), str(SIZE).encode())
            for each in [*held, slow, endless]:
                each.close()
            self.assertIsNone(run.poll())


class Ends(Sending):
    def testSignals(self):
        for number in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
            with self.server() as run:
                run.send_signal(number)
                err = self.end(run, 128 + number)
                self.assertTrue(err.endswith("vellomir-cli: cannot send App 2.ipa: interrupted\n"), err)
                self.assertIn("\nNothing sent yet\n", err)

    def testChangedFile(self):
        for change in [lambda: os.truncate(self.package, 10), self.package.unlink]:
            with self.server() as run:
                change()
                err = self.end(run, 1)
                self.assertTrue(err.endswith("vellomir-cli: cannot send App 2.ipa: The file was changed, "
                                             "replaced or removed while it was offered\n"), err)
            self.write("App 2.ipa", self.content)

    def testErrorsBeforeTheStart(self):
        self.assertIn("There is no such file: missing.ipa",
                      self.fail_("send", "missing.ipa", "--interface", "lo"))
        self.fail_("send", self.folder, "--interface", "lo")
        self.assertIn('There is no network interface "nothing9" that is up',
                      self.fail_("send", self.package, "--interface", "nothing9"))
        taken = socket.create_server(("127.0.0.1", 0))
        port = str(taken.getsockname()[1])
        self.assertIn(f"Another program uses port {port} of 127.0.0.1",
                      self.fail_("send", self.package, "--interface", "lo", "--port", port))
        taken.close()
        for port in ["0", "65536", "-1", "x", "8080x", ""]:
            self.fail_("send", self.package, "--port", port, code=2)

    def testChosenPortCanBeUsedAgainAtOnce(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = str(free.getsockname()[1])
        for _ in range(2):
            with self.server("--port", port) as run:
                self.assertEqual(urlsplit(run.url).port, int(port))
                self.curl("--output", "/dev/null", run.url)


class Showing(Sending):
    def testAddressesAloneWithoutATerminal(self):
        with self.server("--quiet") as run:
            run.send_signal(signal.SIGINT)
            out, err = run.communicate()
            self.assertNotIn("█", run.url + out.decode())
            self.assertEqual(err.decode(), "vellomir-cli: cannot send App 2.ipa: interrupted\n")

    def testCodeOnRequest(self):
        with self.server("--qr", "always") as run:
            run.send_signal(signal.SIGINT)
            lines = run.communicate()[0].decode().splitlines()
        self.assertNotIn("\x1b", "".join(lines))
        self.checkCode([line for line in lines if "http" not in line], run.url)

    def testCodeAndProgressOnATerminal(self):
        master, terminal = pty.openpty()
        environment = {**os.environ, "TERM": "xterm", "NO_COLOR": ""}
        run = subprocess.Popen([PROGRAM, "send", "App 2.ipa", "--interface", "lo"], cwd=self.folder,
                               stdout=terminal, stderr=terminal, stdin=subprocess.DEVNULL,
                               env=environment)
        os.close(terminal)
        self.addCleanup(os.close, master)
        self.addCleanup(run.wait)
        self.addCleanup(run.kill)
        seen = self.readUntil(master, b"Nothing sent yet")
        url = re.search(r"http://127\S+", seen)[0]
        self.curl("--output", "/dev/null", url)
        seen += self.readUntil(master, b"Sent completely, 30.0 MB")
        code = [line for line in seen.splitlines() if line.startswith("\x1b[38;5;231;48;5;16m")]
        self.checkCode([line.removeprefix("\x1b[38;5;231;48;5;16m").removesuffix("\x1b[0m")
                        for line in code], url)

    def readUntil(self, file, text):
        seen = b""
        end = time.monotonic() + 60
        while text not in seen and time.monotonic() < end:
            seen += os.read(file, 65536)
        self.assertIn(text, seen)
        return seen.decode().replace("\r\n", "\n")

    def checkCode(self, lines, address):
        """Draws the half blocks as a picture and has it read."""
        light = {"█": (1, 1), "▀": (1, 0), "▄": (0, 1), " ": (0, 0)}
        rows = [[light[each][half] for each in line] for line in lines for half in (0, 1)]
        scale = 3
        self.assertGreater(len(rows), 20)
        pixels = b"".join(bytes(255 * each for each in row for _ in range(scale)) * scale for row in rows)
        self.write("code.pgm", f"P5 {len(rows[0]) * scale} {len(rows) * scale} 255\n".encode() + pixels)
        try:
            read = subprocess.run(["zbarimg", "--quiet", "--raw", self.folder / "code.pgm"],
                                  capture_output=True, check=True)
        except FileNotFoundError:
            self.skipTest("zbarimg is not installed")
        self.assertEqual(read.stdout.decode().strip(), address)


if __name__ == "__main__":
    unittest.main()
