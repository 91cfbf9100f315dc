"""vellomir-cli duplicate --report: what was changed, as JSON"""
import json
import os
import unittest

from deep import APP, IDENTIFIER, DeepCase, bundle
from harness import ICON_NAMES, makePicture


class Report(DeepCase):
    def report(self, name="report.json"):
        return json.loads((self.folder / name).read_bytes())

    def change(self, file, *keyPath, old, new):
        return {"file": APP + file, "keyPath": list(keyPath), "from": old, "to": new}

    def testEveryChange(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"))],
                  **{"CFBundleIcons": {"CFBundlePrimaryIcon": {"a": b"\0\1", "b": [1, -2.5, True]}}})
        self.deeply("--nested", "--report", "report.json", log=[
            "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: com.example.notes2.a"])
        found = self.report()
        self.assertEqual(list(found), ["package", "result", "changes", "kept", "warnings"])
        icons = {"CFBundlePrimaryIcon": {"a": "AAE=", "b": [1, -2.5, True]}}
        name = "Info.plist"
        self.assertEqual(found, {
            "package": "app.ipa", "result": str(self.folder / "out/Notes2.ipa"), "kept": [],
            "warnings": [], "changes": [
                self.change(name, "CFBundleDisplayName", old="Notes", new="Notes2"),
                self.change(name, "CFBundleIcons", old=icons, new=None),
                self.change(name, "CFBundleIdentifier", old=IDENTIFIER, new=IDENTIFIER + "2"),
                self.change(name, "CFBundleName", old="notes", new="notes2"),
                self.change(name, "CFBundleIconFiles", old=None, new=ICON_NAMES),
                self.change("PlugIns/A.appex/Info.plist", "CFBundleIdentifier",
                            old=IDENTIFIER + ".a", new=IDENTIFIER + "2.a")]})

    def testIconFilesAndWarnings(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle("x"))])
        makePicture(self.folder / "icon.png", 40, 20)
        self.duplicate("--icon", "icon.png", "--nested", "--report", "report.json")
        found = self.report()
        size = len(self.contents("out/Notes2.ipa")[APP + "icon.png"])
        self.assertEqual(found["changes"][0], self.change(
            "icon.png", old={"bytes": 8}, new={"bytes": size, "width": 40, "height": 20}))
        self.assertEqual(found["changes"][1]["from"], None)
        self.assertEqual(found["warnings"], [
            "Unable to change CFBundleIdentifier in PlugIns/A.appex/Info.plist: x does not begin "
            "with com.example.notes."])

    def testAFailedJobLeavesNone(self):
        self.write("app.ipa", "no package")
        with self.unchanged():
            self.assertEqual(self.duplicate("--report", "report.json").code, 1)
        self.make([("PlugIns/A.appex/Info.plist", bundle("x"))])
        with self.unchanged():
            self.assertEqual(
                self.duplicate("--report", "report.json", "--nested", "--strict").code, 1)

    def testOnlyForceReplacesAFile(self):
        self.make()
        self.write("report.json", "old")
        with self.unchanged():
            self.assertIn("--force replaces it, or choose another name", self.fail_(
                "duplicate", "app.ipa", "--number", "2", "--report", "report.json"))
        self.assertEqual(self.duplicate("--report", "report.json").code, 0)
        self.assertEqual(self.report()["package"], "app.ipa")

    def testNothingElseIsReplaced(self):
        self.make()
        self.write("file", "old")
        os.symlink("file", self.folder / "link")
        os.symlink("nowhere", self.folder / "dangling")
        os.mkfifo(self.folder / "pipe")
        with self.unchanged():
            for name in ["link", "dangling", "pipe", "out", "out/", ".", "app.ipa", "./app.ipa",
                         "missing/report.json", "missing/"]:
                result = self.duplicate("--report", name)
                self.assertEqual((result.code, result.out), (1, ""), name)

    def testAFolderThatTakesNoFiles(self):
        self.make()
        with self.unchanged():
            self.assertIn("No file can be made in this folder: /proc: No such file or directory",
                          self.duplicate("--report", "/proc/report.json").err)

    def testTheCopyAndItsReportHaveTwoNames(self):
        self.make()
        with self.unchanged():
            for arguments in [["out/Notes2.ipa"], ["./out/../out/Notes2.ipa"]]:
                result = self.duplicate("--report", *arguments)
                self.assertEqual(result.code, 1)
                self.assertIn("The copy and its report have one name", result.err)

    def testTheModeFollowsTheUmask(self):
        self.make()
        old = os.umask(0o027)
        self.addCleanup(os.umask, old)
        self.duplicate("--report", "report.json")
        self.assertEqual((self.folder / "report.json").stat().st_mode & 0o7777, 0o640)


if __name__ == "__main__":
    unittest.main()
