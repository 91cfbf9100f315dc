"""Packages like real ones, each with what must be said about it

`PACKAGES` is name to `Package`; `write(folder, name)` writes one as NAME.ipa.
"""
import dataclasses
import plistlib
from pathlib import Path

import localizations
import machO
import packers
import provisioning
from bundles import TEAM, Item, app, below, bundle, entitlements, extension, framework, listed, program

IDENTIFIER = "com.example.notes"
MAIN = "Payload/Notes.app"


@dataclasses.dataclass(frozen=True)
class Package:
    """`warnings`: the codes that must be found in it, and no others. `lasting`: those of them that no
    option heals here, although it heals others of their kind. `main`: the app's folder."""
    make: object
    warnings: frozenset = frozenset()
    lasting: frozenset = frozenset()
    packing: packers.Packing = packers.USUAL
    main: str = MAIN

    def files(self):
        """Path to `Item`, in the archive's order."""
        return self.make()


def notes(identifier=IDENTIFIER, info=None, code=None, more=None):
    """A package with one app, and `more` files in it."""
    return below(MAIN, app("Notes", identifier, info, code) | (more or {}))


def signed(identifier, kind=machO.IOS, **more):
    return machO.thin(machO.Program(identifier, entitlements(identifier, **more), 0, TEAM, platform=kind))


# --- Nested bundles ----------------------------------------------------------------------------------


def messenger():
    """Share, notifications, widget, intents with their screens, a framework, shared groups."""
    name = "com.example.messenger"
    groups = {"groups": [f"group.{name}"], "keychain": [name, f"{name}.shared"]}

    def part(title, point, attributes=None):
        identifier = f"{name}.{title}"
        return below(f"PlugIns/{title}.appex", extension(title, identifier, point, attributes,
                                                         code=signed(identifier, **groups)))

    types = [{"CFBundleURLName": name, "CFBundleURLSchemes": ["example-messenger", "exm"]}]
    intents = {"IntentsSupported": ["INSendMessageIntent"], "IntentsRestrictedWhileLocked": []}
    parts = (part("Share", "com.apple.share-services", {"NSExtensionActivationRule": "TRUEPREDICATE"}) |
             part("NotificationService", "com.apple.usernotifications.service") |
             part("Widget", "com.apple.widgetkit-extension") |
             part("Intents", "com.apple.intents-service", intents) |
             part("IntentsUI", "com.apple.intents-ui-service", intents) |
             below("Frameworks/Chat.framework", framework("Chat", f"{name}.Chat")))
    share = localizations.infoPlistStrings("de", "Teilen")
    main = app("Messenger", name, {"CFBundleURLTypes": types}, signed(name, **groups))
    return below("Payload/Messenger.app",
                 main | parts | {"PlugIns/Share.appex/de.lproj/InfoPlist.strings": Item(share)})


def watch():
    """A watch app with an extension and a complication: each names the bundle above it."""
    name = f"{IDENTIFIER}.watchkitapp"
    code = machO.thin(machO.Program(name, encryption=0, platform=machO.WATCH), machO.ARM64_32)
    onWatch = {"WKCompanionAppBundleIdentifier": IDENTIFIER, "WKWatchKitApp": True, "UIDeviceFamily": [4],
               "CFBundleSupportedPlatforms": ["WatchOS"], "CFBundleDisplayName": "Notes"}
    inside = extension("WatchExtension", f"{name}.watchkitextension", "com.apple.watchkit",
                       {"WKAppBundleIdentifier": name}, {"CLKComplicationPrincipalClass": "Complication"}, code)
    complication = extension("Complication", f"{name}.complication", "com.apple.widgetkit-extension", code=code)
    companion = (bundle("Companion", name, onWatch, code) | below("PlugIns/WatchExtension.appex", inside) |
                 below("PlugIns/Complication.appex", complication))
    return notes(more=below("Watch/Companion.app", companion))


def clip():
    """An app clip: a small app that starts without the whole one."""
    name = f"{IDENTIFIER}.Clip"
    part = {"NSAppClip": {"NSAppClipRequestEphemeralUserNotification": False}}
    inside = below("AppClips/Clip.app", app("Clip", name, part, signed(name, clipOf=IDENTIFIER)))
    return notes(code=signed(IDENTIFIER), more=inside)


def foreignExtension():
    """An extension whose identifier does not begin with the app's and a dot."""
    found = extension("Other", "com.example.notesother", "com.apple.share-services")
    return notes(more=below("PlugIns/Other.appex", found))


# --- Names and icons ---------------------------------------------------------------------------------


def languages():
    """Thirty languages in every format, and two more in a table."""
    more = {f"{code}.lproj/InfoPlist.strings": Item(localizations.infoPlistStrings(code, name))
            for code, name in localizations.LANGUAGES}
    more |= {f"{code}.lproj/Localizable.strings": listed({"CFBundleDisplayName": "not a name", "Save": name})
             for code, name in localizations.LANGUAGES}
    return notes(more=more | {"InfoPlist.loctable": Item(localizations.locTable())})


def otherTexts():
    """Languages that leave the names alone."""
    return notes(more={f"{code}.lproj/InfoPlist.strings": Item(localizations.infoPlistStrings(code, ""))
                       for code, _ in localizations.LANGUAGES})


def ipad():
    """Icons in a catalogue, with keys of their own for the iPad."""
    icons = {"CFBundlePrimaryIcon": {"CFBundleIconFiles": ["AppIcon60x60"], "CFBundleIconName": "AppIcon"}}
    tablet = {"CFBundlePrimaryIcon": {"CFBundleIconFiles": ["AppIcon60x60", "AppIcon76x76"],
                                      "CFBundleIconName": "AppIcon"}}
    info = {"CFBundleIcons": icons, "CFBundleIcons~ipad": tablet, "CFBundleIconName": "AppIcon",
            "CFBundleIconFile": "AppIcon", "UIDeviceFamily": [1, 2]}
    return notes(info=info, more={"Assets.car": Item(b"BOMStore" + bytes(4088))})


def catalogueForPictures():
    """A catalogue that holds no icon."""
    return notes(more={"Assets.car": Item(b"BOMStore" + bytes(4088))})


# --- Programs ----------------------------------------------------------------------------------------


def encrypted():
    """As the store delivers it, with what belongs to the purchase beside it."""
    code = machO.thin(machO.Program(IDENTIFIER, encryption=1))
    store = {"itemName": "Notes", "softwareVersionBundleId": IDENTIFIER, "itemId": 1234567890}
    purchase = {"SC_Info/Notes.sinf": Item(b"sinf" * 100), "SC_Info/Notes.supp": Item(b"supp" * 100)}
    return {"iTunesMetadata.plist": Item(plistlib.dumps(store)),
            "META-INF/com.apple.ZipMetadata.plist": Item(plistlib.dumps({"Version": 2})),
            **notes(code=code, more=purchase)}


def encryptedPart():
    """Only the slice for one architecture of a framework is encrypted."""
    slices = [(architecture, machO.thin(machO.Program("org.example.kit", kind=machO.LIBRARY, encryption=field),
                                        architecture))
              for architecture, field in [(machO.ARMV7, 0), (machO.ARM64, 1)]]
    kit = framework("Kit", "org.example.kit") | {"Kit": program(machO.joined(slices))}
    return notes(more=below("Frameworks/Kit.framework", kit))


def groups():
    """Signed with groups that other apps of the maker share, by two architectures."""
    rights = entitlements(IDENTIFIER, groups=["group.example"], keychain=[IDENTIFIER, "example.shared"])
    return notes(code=machO.fat(machO.Program(IDENTIFIER, rights, 0, TEAM)))


def profiled():
    """Signed by a developer, with the profile that allows it."""
    rights = entitlements(IDENTIFIER)
    profile = provisioning.profile(IDENTIFIER, TEAM, rights)
    return notes(code=signed(IDENTIFIER), more={"embedded.mobileprovision": Item(profile)})


def ofArchitecture(code):
    return lambda: notes(code=code(machO.Program(IDENTIFIER, encryption=0)))


# --- Identifiers and addresses -----------------------------------------------------------------------


def reserved():
    return notes("com.apple.mobilenotes")


def schemes():
    """Addresses that open the app; one type names none."""
    types = [{"CFBundleURLName": "pages", "CFBundleURLSchemes": ["notes", "x-notes"]},
             {"CFBundleURLName": "nothing", "CFBundleTypeRole": "Editor"}]
    return notes(info={"CFBundleURLTypes": types})


def warned(make, *codes, **more):
    return Package(make, frozenset(codes), **more)


PACKAGES = {
    "plain": Package(notes),
    "messenger": warned(messenger, "nested-identifier", "url-scheme", "shared-group", "entitlements",
                        main="Payload/Messenger.app"),
    "watch": warned(watch, "nested-identifier"),
    "clip": warned(clip, "nested-identifier", "entitlements"),
    "foreign-extension": warned(foreignExtension, "nested-identifier", lasting=frozenset(["nested-identifier"])),
    "languages": warned(languages, "localized-name"),
    "other-texts": Package(otherTexts),
    "ipad": warned(ipad, "ipad-icon", "asset-catalogue-icon"),
    "catalogue-for-pictures": Package(catalogueForPictures),
    "encrypted": warned(encrypted, "encrypted"),
    "encrypted-part": warned(encryptedPart, "encrypted"),
    "groups": warned(groups, "shared-group", "entitlements"),
    "profile": warned(profiled, "entitlements"),
    "armv7": Package(ofArchitecture(lambda code: machO.thin(code, machO.ARMV7))),
    "fat": Package(ofArchitecture(machO.fat)),
    "fat64": Package(ofArchitecture(lambda code: machO.fat(code, wide=True))),
    "reserved": warned(reserved, "reserved-identifier"),
    "schemes": warned(schemes, "url-scheme"),
    "packed-as-stream": Package(notes, packing=packers.STREAMED),
    "packed-stored": Package(notes, packing=packers.STORED),
    "packed-with-extras": Package(notes, packing=packers.EXTRAS),
}


def write(folder, name):
    """Writes the package; returns its path."""
    package = PACKAGES[name]
    return packers.pack(Path(folder) / f"{name}.ipa", package.files(), package.packing)
