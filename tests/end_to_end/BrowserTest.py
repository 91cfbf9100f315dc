"""What a browser makes of `vellomir-cli send`: the name, the bytes, refusals and broken connections

Needs Chromium, which is no package of ./test. Run it by hand where it is installed:
VELLOMIR_CLI=build/release/bin/vellomir-cli python3 tests/end_to_end/BrowserTest.py
"""
import contextlib
import json
import os
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path
from urllib.parse import urlsplit

from harness import PROGRAM, Case, removeTree

CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser")
SIZE = 20_000_000
NAME = "Äpp 2 – копия.ipa"


class Browser:
    """A browser without a screen, driven over a pair of pipes."""

    def __init__(self, folder):
        self.profile = Path(tempfile.mkdtemp(prefix="vellomir-browser-"))
        toBrowser, self.output = os.pipe()
        self.input, fromBrowser = os.pipe()

        def arrange():
            # Chromium reads from descriptor 3 and writes to 4.
            source, sink = os.dup(toBrowser), os.dup(fromBrowser)
            os.dup2(source, 3)
            os.dup2(sink, 4)
        self.process = subprocess.Popen(
            [CHROMIUM, "--headless=new", "--no-sandbox", "--disable-gpu", "--no-proxy-server",
             "--remote-debugging-pipe", f"--user-data-dir={self.profile}", "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            close_fds=False, preexec_fn=arrange, start_new_session=True)
        os.close(toBrowser)
        os.close(fromBrowser)
        self.rest, self.events, self.last = b"", [], 0
        self.call("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(folder),
                  eventsEnabled=True)
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.call("Network.enable", page=True)

    def close(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        os.close(self.output)
        os.close(self.input)
        shutil.rmtree(self.profile, ignore_errors=True)

    def read(self):
        while b"\0" not in self.rest:
            got = os.read(self.input, 1 << 16)
            assert got, "the browser has ended"
            self.rest += got
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, page=False, **values):
        self.last += 1
        message = {"id": self.last, "method": method, "params": values}
        if page:
            message["sessionId"] = self.session
        os.write(self.output, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.read()
            if answer.get("id") == self.last:
                assert "error" not in answer, answer
                return answer["result"]
            self.events.append(answer)

    def wait(self, method, accept=lambda values: True):
        """The values of the next event of this kind."""
        while True:
            event = self.events.pop(0) if self.events else self.read()
            if event.get("method") == method and accept(event["params"]):
                return event["params"]

    def status(self, url):
        """Opens a page, and returns the HTTP status of its answer."""
        self.call("Page.navigate", page=True, url=url)
        return self.wait("Network.responseReceived")["response"]["status"]

    def download(self, url):
        """Opens an address that is a file; returns the proposed name, and how it ended."""
        self.call("Page.navigate", page=True, url=url)
        name = self.wait("Browser.downloadWillBegin")["suggestedFilename"]
        end = self.wait("Browser.downloadProgress", lambda values: values["state"] != "inProgress")
        return name, end["state"]


class CuttingRelay:
    """Passes requests on to a server, and breaks the first answers off after some bytes."""

    def __init__(self, url, cuts):
        self.place, self.cuts, self.requests = urlsplit(url), cuts, []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.netloc = f"127.0.0.1:{self.listener.getsockname()[1]}"
        self.url = url.replace(self.place.netloc, self.netloc)
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        with contextlib.suppress(OSError):
            while True:
                client, _ = self.listener.accept()
                threading.Thread(target=self.serve, args=[client], daemon=True).start()

    def serve(self, client):
        with client, contextlib.suppress(OSError):
            request = client.recv(1 << 16)
            if self.place.path.encode() not in request:
                return
            self.requests.append(request.decode())
            left = self.cuts.pop(0) if self.cuts else SIZE * 2
            with socket.create_connection((self.place.hostname, self.place.port)) as server:
                server.sendall(request.replace(self.netloc.encode(), self.place.netloc.encode()))
                while left > 0 and (got := server.recv(min(left, 1 << 16))):
                    client.sendall(got)
                    left -= len(got)


@unittest.skipUnless(CHROMIUM, "chromium is not installed")
class Fetching(Case):
    def setUp(self):
        super().setUp()
        self.content = os.urandom(SIZE)
        self.write(NAME, self.content)
        self.downloads = Path(tempfile.mkdtemp(prefix="vellomir-downloads-"))
        self.addCleanup(removeTree, self.downloads)
        self.server = subprocess.Popen([PROGRAM, "send", NAME, "--interface", "lo"], cwd=self.folder,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, bufsize=0)
        self.addCleanup(self.endServer)
        self.url = self.server.stdout.readline().decode().rstrip("\n")
        self.browser = Browser(self.downloads)
        self.addCleanup(self.browser.close)

    def endServer(self):
        self.server.terminate()
        self.server.communicate()

    def checkDownload(self, url):
        self.assertEqual(self.browser.download(url), (NAME, "completed"))
        self.assertEqual((self.downloads / NAME).read_bytes(), self.content)

    def testWholeFileUnderItsName(self):
        self.checkDownload(self.url)

    def testRefusals(self):
        last = self.url[-1]
        wrong = self.url[:-1] + ("a" if last != "a" else "b")
        base = self.url.rsplit("/", 1)[0]
        for url in [wrong, base + "/", base + "/favicon.ico"]:
            self.assertEqual(self.browser.status(url), 404, url)
        self.assertEqual(self.browser.status(self.url.replace("127.0.0.1", "localhost")), 421)
        self.assertEqual(list(self.downloads.iterdir()), [])

    def testResumesAfterBreaks(self):
        relay = CuttingRelay(self.url, [SIZE // 4, SIZE // 3])
        self.addCleanup(relay.listener.close)
        self.checkDownload(relay.url)
        self.assertEqual(len(relay.requests), 3)
        for request in relay.requests[1:]:
            self.assertRegex(request, r"\r\n[Rr]ange: bytes=[1-9]\d*-\r\n")


if __name__ == "__main__":
    unittest.main()
