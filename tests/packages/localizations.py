"""InfoPlist.strings and InfoPlist.loctable in every format that packages have them in"""
import codecs
import plistlib

# Language, and the app's name in it: "" where the language has no name of its own.
LANGUAGES = [
    ("ar", "مذكرات"), ("ca", "Notes"), ("cs", "Poznámky"), ("da", "Noter"), ("de", "Notizen"), ("el", "Σημειώσεις"),
    ("en", "Notes"), ("en-GB", ""), ("es", "Notas"), ("es-419", "Notas"), ("fi", "Muistiinpanot"), ("fr", "Notes"),
    ("fr-CA", ""), ("he", "פתקים"), ("hi", "नोट्स"), ("hr", "Bilješke"), ("hu", "Jegyzetek"), ("id", "Catatan"),
    ("it", "Note"), ("ja", "メモ"), ("ko", "메모"), ("ms", "Nota"), ("nb", "Notater"), ("nl", "Notities"),
    ("pl", "Notatki"), ("pt-BR", "Notas"), ("ru", "Заметки"), ("tr", "Notlar \"2\""), ("uk", "Нотатки"),
    ("zh-Hans", "备忘录 😀"),
]
FURTHER = {"sv": "Anteckningar", "th": "โน้ต"}  # languages that only the table has


def strings(name):
    """What a file of one language says."""
    found = {"NSCameraUsageDescription": f"For pictures in {name or 'it'}\n\t\\ & <others>"}
    if name:
        found |= {"CFBundleDisplayName": name, "CFBundleName": name.lower()}
    return found | {"NSHumanReadableCopyright": "© 2025"}


def escaped(text):
    for character, escape in [("\\", "\\\\"), ("\"", "\\\""), ("\n", "\\n"), ("\t", "\\t")]:
        text = text.replace(character, escape)
    return text


def oldText(values):
    """Keys need no quotes when they are plain words, so only every second has them."""
    lines = ["/* Localized versions of Info.plist keys */", ""]
    for number, (key, value) in enumerate(values.items()):
        shown = f"\"{key}\"" if number % 2 else key
        lines += [f"{shown} = \"{escaped(value)}\";", "// next"]
    return "\n".join(lines) + "\n"


FORMATS = {
    "XML": lambda values: plistlib.dumps(values, sort_keys=False),
    "binary": lambda values: plistlib.dumps(values, fmt=plistlib.FMT_BINARY, sort_keys=False),
    "UTF-8": lambda values: oldText(values).encode(),
    "UTF-16 LE": lambda values: codecs.BOM_UTF16_LE + oldText(values).encode("utf-16-le"),
    "UTF-16 BE": lambda values: codecs.BOM_UTF16_BE + oldText(values).encode("utf-16-be"),
}


def formatOf(language):
    """Each language has one of the formats, in turn."""
    order = [code for code, _ in LANGUAGES]
    return list(FORMATS)[order.index(language) % len(FORMATS)]


def infoPlistStrings(language, name):
    return FORMATS[formatOf(language)](strings(name))


def locTable():
    return plistlib.dumps({language: strings(name) for language, name in FURTHER.items()},
                          fmt=plistlib.FMT_BINARY, sort_keys=False)
