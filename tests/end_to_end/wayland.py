"""A Wayland desktop of the tests' own: a compositor in a window of their X server

It has a keyboard and a mouse, those of the X server. What it shows is in the server's picture.
"""
import os

from desktop import Desktop, waitFor

BACKGROUND = b"\x1b\x13\x13" # of the program's window, and of nothing else


class WaylandDesktop(Desktop):
    def __init__(self):
        super().__init__()
        try:
            self.startCompositor()
        except BaseException:
            self.close()
            raise

    def startCompositor(self):
        socket = self.folder / "wayland"
        self.environment["XDG_RUNTIME_DIR"] = str(self.folder)
        os.chmod(self.folder, 0o700)
        self.run(["weston", "--backend=x11-backend.so", "--use-pixman", "--no-config", "--idle-time=0",
                  "--width=1200", "--height=960", f"--socket={socket.name}"])
        waitFor(socket.exists, "the compositor")
        self.environment["WAYLAND_DISPLAY"] = str(socket)

    def close(self):
        self.processes[-1].kill() # A compositor without its X server would not end.
        super().close()

    def place(self, _window):
        """Left, top, width and height of what shows the colour of the program's background."""
        pixels, width = self.image()
        rows = [bytes(pixels[start:start + width]) for start in range(0, len(pixels), width)]
        found = [(row.find(BACKGROUND), row.rfind(BACKGROUND)) for row in rows]
        tops = [top for top, (left, _) in enumerate(found) if left >= 0]
        if not tops:
            return 0, 0, 1, 1
        left = min(left for left, _ in found if left >= 0) // 4
        right = max(right for _, right in found) // 4
        return left, tops[0], right - left + 1, tops[-1] - tops[0] + 1
