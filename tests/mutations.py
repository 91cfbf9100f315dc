"""The changes that tests/mutate makes in a source: operators, constants, conditions, statements."""
import re
from dataclasses import dataclass


@dataclass(frozen=True)
class Change:
    """The characters from `start` to `end` of a source become `new`."""
    start: int
    end: int
    new: str
    label: str


SWAPS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
         "+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "+=": "-=", "-=": "+=", "<<": ">>",
         ">>": "<<", "&": "|", "|": "&", "|=": "&=", "&=": "|="}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min"}
NO_STATEMENT = re.compile(r"(using|static_assert|struct|class|enum|namespace|template|friend|extern|"
                          r"case|default|public|private|protected|if|for|while|switch|do|try|catch)\b")
NO_EFFECT = re.compile(r"\.reserve\(|= (default|delete)$")  # on what a test can see


def masked(text):
    """The text with blanks for what is no code: comments, literals, directives, attributes."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.|\n)*?\)"|"(?:\\.|[^"\\\n])*"|'
                         r"(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'|^\s*#[^\n]*|\[\[\w+\]\]",
                         re.DOTALL | re.MULTILINE)
    return pattern.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), text)


def closing(code, start):
    """Behind the bracket that closes the one at `start`."""
    depth = 0
    for index in range(start, len(code)):
        depth += (code[index] in "([{") - (code[index] in ")]}")
        if depth == 0:
            return index + 1
    return len(code)


def operators(code):
    """Operators are between blanks here; template brackets and references do not."""
    for found in re.finditer(r"(?<=\s)([-+*/%&|<>=!]{1,2})(?=\s)", code):
        if found[1] in SWAPS:
            yield Change(*found.span(1), SWAPS[found[1]], f"{found[1]} to {SWAPS[found[1]]}")
    for found in re.finditer(r"(\+\+|--)(?=\w)", code):
        new = "--" if found[1] == "++" else "++"
        yield Change(*found.span(1), new, f"{found[1]} to {new}")
    for found in re.finditer(r"!(?=[\w(:*])", code):
        yield Change(*found.span(), "", "! dropped")


def constants(code):
    for found in re.finditer(r"(?<![\w.'])(0[xX][0-9A-Fa-f]+|\d+)(?=[uUlL]*(?![\w.']))", code):
        value = int(found[1], 0) if not re.fullmatch(r"0\d+", found[1]) else int(found[1], 8)
        yield Change(*found.span(), str(value + 1), f"{found[1]} to {value + 1}")
        if value > 0:
            yield Change(*found.span(), str(value - 1), f"{found[1]} to {value - 1}")
    for found in re.finditer(r"\b(true|false|min|max)\b(?!::)", code):
        if found[1] in ("min", "max") and not code[:found.start()].endswith("std::"):
            continue
        yield Change(*found.span(), WORDS[found[1]], f"{found[1]} to {WORDS[found[1]]}")


def conditions(code):
    for found in re.finditer(r"\b(?:if|while) (?=\()", code):
        end = closing(code, found.end())
        inner = code[found.end() + 1:end - 1]
        if ";" in inner or re.match(r"\s*(const )?[\w:]+ [*&]?\w+ =", inner):
            continue  # it declares something
        yield Change(found.end(), found.end() + 1, "(!(", "condition negated")


def statements(code):
    """Calls, assignments, throws and early returns; not declarations, nor the last return."""
    for found in re.finditer(r"(?<=[;{}):])\s*\n +(?=[\w*+(-])|\belse\s+(?=[\w*+(-])", code):
        start = found.end()
        end = start
        while end < len(code) and code[end] not in ";{}":
            end = closing(code, end) if code[end] in "([" else end + 1
        text = code[start:end]
        if code[end:end + 1] != ";" or NO_STATEMENT.match(text) or NO_EFFECT.search(text):
            continue
        head = re.split(r"[=(\[{]", text, maxsplit=1)[0].rstrip(" +-|&<>*/%")
        isLastReturn = text.startswith("return") and re.match(r"(\s*\})*\n\}", code[end + 1:])
        if isLastReturn or (" " in head and not text.startswith(("return", "throw"))):
            continue
        yield Change(start, end, "", f"{' '.join(text.split())[:40]} dropped")


def changes(text):
    code = masked(text)
    found = [change for kind in (operators, constants, conditions, statements)
             for change in kind(code)]
    return sorted(found, key=lambda change: (change.start, change.label))


def applied(text, change):
    if change.label == "condition negated":
        end = closing(masked(text), change.start)
        return text[:change.start] + change.new + text[change.end:end] + ")" + text[end:]
    return text[:change.start] + change.new + text[change.end:]


def lineOf(text, change):
    """Where the change is, as "line:column", and the text of that line and of the one before."""
    number = text.count("\n", 0, change.start) + 1
    column = change.start - text.rfind("\n", 0, change.start)
    before, line = ["", *text.splitlines()][number - 1:number + 1]
    return f"{number}:{column}", line.strip(), before.strip()
