"""Random trees on disk: names, contents, modes, times and links of every kind"""
import os
import random

PARTS = ["a", "b", "README", "Info.plist", "x.tar.gz", "Icon-60@2x.png", "with space", " leading",
         "trailing ", "-rf", "--help", ".hidden", "..twodots", "...", "back\\slash", "\\", "new\nline",
         "tab\there", "quote\"double", "quote'single", "per%cent", "%s%n", "$HOME", "`id`", "star*",
         "what?", "[abc]", "{a,b}", "semi;colon", "am&p", "pi|pe", "co:lon", "<less>", "#hash",
         "~tilde", "!bang", "ends.", "del\x7f", "bell\x07", "esc\x1b[31m", "Zażółć gęślą jaźń",
         "\u00fc", "u\u0308", "e\u0301te\u0301", "\u00e9t\u00e9", "\u05e9\u05dc\u05d5\u05dd",
         "\u202eright to left", "\u0627\u0644", "\U0001f600", "\u65e5\u672c\u8a9e", "\ufeffmark",
         "\u212bngstr\u00f6m", "CON", "nul.txt", "a=b", "@file", "+plus", "comma,"]
MODES = [0o644, 0o644, 0o755, 0o600, 0o400, 0o444, 0o000, 0o777, 0o4755, 0o2755, 0o1644, 0o6711,
         0o7777, 0o001, 0o070, 0o200]
FOLDER_MODES = [0o755, 0o755, 0o700, 0o500, 0o1777, 0o2775, 0o000, 0o111, 0o7777, 0o050]
DAY = 86_400
FIRST, LAST = 315_532_800, 4_354_819_199  # what a record's date can say: 1980 to 2107


class Tree:
    """Writes one tree below a folder. All choices are those of `choices`, a `random.Random`."""

    def __init__(self, folder, choices):
        self.folder = os.fsencode(folder)
        self.choices = choices
        self.folders = [b""]
        self.files = []
        self.taken = set()
        self.isRoot = os.geteuid() == 0

    def write(self):
        os.mkdir(self.folder)
        shape = self.choices.choice(["usual", "usual", "usual", "deep", "many", "empty", "large"])
        made = {"deep": self.deep, "many": self.many, "large": self.large}.get(shape)
        if made:
            made()
        if shape != "empty":
            for _ in range(self.choices.randint(1, 25)):
                self.choices.choices([self.file, self.makeFolder, self.link], [6, 3, 2])[0]()
        self.setModesAndTimes()

    # --- Shapes ------------------------------------------------------------------------------------

    def deep(self):
        path = b""
        for _ in range(self.choices.randint(10, 60)):
            path = self.makeFolder(path)
        self.file(path)

    def many(self):
        for _ in range(self.choices.randint(50, 150)):
            self.file()

    def large(self):
        """A file with holes in which a few bytes are set."""
        path = self.newPath()
        size = self.choices.randint(1 << 20, 6 << 20)
        with open(os.path.join(self.folder, path), "wb") as file:
            file.truncate(size)
            for _ in range(self.choices.randint(0, 5)):
                file.seek(self.choices.randrange(size - 100))
                file.write(self.choices.randbytes(100))
        self.files.append(path)

    # --- Items -------------------------------------------------------------------------------------

    def file(self, folder=None):
        path = self.newPath(folder)
        with open(os.path.join(self.folder, path), "wb") as file:
            file.write(self.content())
        self.files.append(path)

    def content(self):
        size = self.choices.choice([0, 1, 10, 100, 1000, 16_384, 70_000])
        size = self.choices.randint(size // 2, size)
        if self.choices.random() < 0.5:
            return self.choices.randbytes(size)
        return (b"%d text " % self.choices.randrange(1000) * (size // 8 + 1))[:size]

    def makeFolder(self, parent=None):
        path = self.newPath(parent)
        os.mkdir(os.path.join(self.folder, path))
        self.folders.append(path + b"/")
        return path + b"/"

    def link(self):
        """To a file or a folder of the tree, to another link, or to nothing."""
        path = self.newPath()
        targets = [*self.files, *(folder.rstrip(b"/") for folder in self.folders[1:]), b"missing",
                   "fehlt/\u00fc".encode(), b"b" * 300]
        target = self.choices.choice(targets)
        if self.choices.random() < 0.8:  # else it leads nowhere, unless both are in one folder
            target = os.path.relpath(target, os.path.dirname(path) or b".")
        os.symlink(target, os.path.join(self.folder, path))
        self.files.append(path)

    def newPath(self, folder=None):
        folder = self.choices.choice(self.folders) if folder is None else folder
        while True:
            path = folder + self.name(len(folder))
            if path not in self.taken and path[len(folder):] not in (b".", b".."):
                self.taken.add(path)
                return path

    def name(self, used):
        name = self.choices.choice(PARTS)
        if self.choices.random() < 0.4:
            name += self.choices.choice(PARTS)
        if self.choices.random() < 0.03 and used < 300:
            name = name.ljust(300, self.choices.choice("Lé日"))
        if self.choices.random() < 0.5:
            name = f"{self.choices.randrange(1000)}{name}"
        return name.encode()[:255].decode(errors="ignore").encode()

    # --- Modes and times ---------------------------------------------------------------------------

    def setModesAndTimes(self):
        for path in sorted(self.files) + sorted(self.folders[1:], key=len, reverse=True):
            full = os.path.join(self.folder, path.rstrip(b"/"))
            if not os.path.islink(full):
                os.chmod(full, self.mode(path))
            seconds = self.seconds()
            nanoseconds = seconds * 10**9 + self.choices.choice([0, 1, 500_000_000, 999_000_000])
            os.utime(full, ns=(nanoseconds, nanoseconds), follow_symlinks=False)

    def mode(self, path):
        isFolder = path.endswith(b"/")
        mode = self.choices.choice(FOLDER_MODES if isFolder else MODES)
        if self.choices.random() < 0.2:
            mode = self.choices.randrange(0o10000)
        return mode if self.isRoot else mode | (0o700 if isFolder else 0o400)

    def seconds(self):
        kind = self.choices.randrange(12)
        if kind == 0:  # before 1980
            return self.choices.choice([0, 1, -1, -DAY * 3650, FIRST - 1, FIRST - 3])
        if kind == 1:  # after 2099 and after 2107
            return self.choices.choice([LAST, LAST + 1, LAST + DAY * 365, LAST - DAY * 2000])
        if kind == 2:  # around the ends of months and years, and the day of leap years
            return self.choices.choice([951_782_399, 951_868_799, 1_709_251_199, 1_735_689_599,
                                        4_233_686_400])
        return self.choices.randint(FIRST, 2_000_000_000)


def randomTree(folder, seed):
    Tree(folder, random.Random(seed)).write()
