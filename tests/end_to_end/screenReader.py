"""The window as a screen reader sees it: over the desktop's accessibility bus, and by nothing else

Needs Debian's Python, which has the bindings. The bus is one of the tests' own.
"""
import functools
import os
import time

import gi
from desktop import PATIENCE, start
from gi.repository import Gio, GLib
from window import WindowCase

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

# Roles of what a user can work with. Each needs a name and a description.
CONTROLS = {"push button", "link", "text", "list"}


class AccessibilityBus:
    """A message bus, and the desktop's accessibility switched on, as a screen reader does."""

    def __init__(self, environment):
        reading, writing = os.pipe()
        command = ["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={writing}"]
        with open(os.devnull, "wb") as nothing:
            self.process = start(command, env=environment, pass_fds=[writing], stderr=nothing)
        os.close(writing)
        with os.fdopen(reading) as answer:
            self.address = answer.readline().strip()
        assert self.address, "the message bus did not start"
        # What the bindings find their bus by.
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.address
        os.environ["DISPLAY"] = environment["DISPLAY"]
        self.switchOn()
        Atspi.init()

    def close(self):
        Atspi.exit()
        self.process.terminate()
        self.process.wait()

    def switchOn(self):
        kind = Gio.DBusConnectionFlags
        bus = Gio.DBusConnection.new_for_address_sync(
            self.address, kind.AUTHENTICATION_CLIENT | kind.MESSAGE_BUS_CONNECTION, None, None)
        for name in ["IsEnabled", "ScreenReaderEnabled"]:
            value = GLib.Variant("(ssv)", ("org.a11y.Status", name, GLib.Variant("b", True)))
            bus.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                          value, None, Gio.DBusCallFlags.NONE, 1000 * int(PATIENCE), None)


class Thing:
    """One item of the screen. Its texts are those of the moment when they are first asked for."""

    def __init__(self, item):
        self.item = item

    @functools.cached_property
    def role(self):
        return self.item.get_role_name()

    @functools.cached_property
    def name(self):
        return self.item.get_name()

    @functools.cached_property
    def description(self):
        return self.item.get_description()

    def __repr__(self):
        return f"{self.role} {self.name!r} ({self.description!r})"

    def children(self):
        found = [self.item.get_child_at_index(index) for index in range(self.item.get_child_count())]
        return [Thing(each) for each in found if each is not None]

    def all(self):
        """This item and everything in it, in the order in which it is read, but no files of a dialog."""
        yield self
        for child in self.children() if self.role != "split pane" else []:
            yield from child.all()

    def place(self):
        return Atspi.Component.get_extents(self.item, Atspi.CoordType.WINDOW)

    def has(self, state):
        return self.item.get_state_set().contains(getattr(Atspi.StateType, state))

    def isEmptyList(self):
        return self.role == "list" and self.item.get_child_count() == 0

    def do(self, action):
        """Runs an action, such as "Press"."""
        names = [self.item.get_action_name(index) for index in range(self.item.get_n_actions())]
        assert action in names, f"{self} has only {names}"
        assert self.item.do_action(names.index(action)), f"{self} refused {action}"

    def text(self):
        return Atspi.Text.get_text(self.item, 0, Atspi.Text.get_character_count(self.item))

    def setText(self, text):
        assert Atspi.EditableText.set_text_contents(self.item, text), f"{self} takes no text"


class ScreenReader:
    """What can be found and done in the program's windows."""

    def __init__(self, window):
        self.window = window

    def windows(self):
        desktop = Thing(Atspi.get_desktop(0))
        program = [each for each in desktop.children() if each.name == "vellomir"]
        if not program:
            return []
        program[0].item.set_cache_mask(Atspi.Cache.NONE)
        return program[0].children()

    def things(self, role=None, name=None, within=None):
        """All items of a role and a name, or of any; those of one window if that is named."""
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            return [each for window in self.windows() if within in (None, window.name)
                    for each in window.all()
                    if role in (None, each.role) and name in (None, each.name)]
        except GLib.Error: # It went while it was read.
            return []

    def find(self, role, name, within=None):
        """Waits until there is such an item."""
        def look():
            found = self.things(role, name, within)
            time.sleep(0 if found else 0.05)
            return found
        return self.window.waitFor(look, f"the {role} {name!r}")[0]

    def waitForNo(self, role, name):
        self.window.waitFor(lambda: not self.things(role, name), f"the {role} {name!r} to go")

    def press(self, name, role="push button", within=None):
        self.find(role, name, within).do("Press")

    def type(self, text):
        """To what has the keyboard."""
        for character in text:
            assert Atspi.generate_keyboard_event(0, character, Atspi.KeySynthType.STRING)

    def messages(self):
        return [each.name for each in self.things("alert")]

    def problems(self):
        """What has no role or no name, and controls that cannot be focused or do not say what they do."""
        found = []
        for each in self.things():
            if each.role in ["unknown", "invalid", "filler", ""] or each.name == "":
                found.append(f"no role or no name: {each}")
            elif each.role in CONTROLS and each.description in ["", each.name]:
                found.append(f"no description: {each}")
            elif each.role in CONTROLS and not each.has("FOCUSABLE") and not each.isEmptyList():
                found.append(f"cannot be focused: {each}")
        return found


class ReaderCase(WindowCase):
    """Each class has a desktop and an accessibility bus of its own."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.bus = AccessibilityBus(cls.desktop.environment)
        cls.addClassCleanup(cls.bus.close)

    def setUp(self):
        super().setUp()
        self.opened = self.folder / "opened"
        self.environment.update(DBUS_SESSION_BUS_ADDRESS=self.bus.address,
                                PATH=f"{self.fakeOpener()}:{os.environ['PATH']}")

    def fakeOpener(self):
        """A folder with a program that notes the addresses it is to open."""
        opener = self.write("bin/xdg-open", f'#!/bin/sh\necho "$1" >>{self.opened}\n', mode=0o755)
        self.write("bin/x-www-browser", "#!/bin/sh\n", mode=0o755)
        return opener.parent

    def waitForOpened(self, address):
        self.window.waitFor(lambda: self.opened.exists() and address in self.opened.read_text(),
                            address + " to be opened")

    def checkTexts(self):
        """Everything that can be reached says what it is, and every control what it does."""
        self.assertEqual(self.reader.problems(), [])

    def answerDialog(self, title, path, button):
        self.reader.find("dialog", title)
        [field] = self.reader.things("text", within=title)
        field.setText(str(path))
        self.reader.press(button, within=title)
        self.reader.waitForNo("dialog", title)

    def openWindow(self, *arguments):
        self.window = self.start(*arguments)
        self.reader = ScreenReader(self.window)
        return self.reader.find("frame", "Vellomir")

    def enterNumber(self, number, typing=None):
        field = self.reader.find("text", "Duplication Number")
        field.do("SetFocus")
        self.window.waitFor(lambda: field.has("FOCUSED"), "the focus")
        (typing or self.reader.type)(number)
        self.window.waitFor(lambda: field.text() == number, "the number")
