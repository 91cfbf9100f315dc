// What assistive programs can read and do.

#include "tests/Job/Packages.h"
#include "tests/window/WindowFixture.h"

#include <QAccessible>

#include <stdexcept>

namespace vellomir {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

namespace {

/// What an assistive program can read about one item.
struct Node {
    QAccessible::Role role;
    std::string name;

    friend bool operator==(const Node &, const Node &) = default;
    friend void PrintTo(const Node &node, std::ostream *out) {
        *out << '"' << node.name << "\" with role " << node.role;
    }
};

using Tree = std::vector<QAccessibleInterface *>;

/// Each test runs with an assistive program that starts before the window, and with one that starts
/// after it.
class Accessibility : public test::WindowTest, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        QAccessible::setActive(true);
        if (GetParam())
            open();
        settle();
    }

    void TearDown() override { QAccessible::setActive(false); }

    /// The whole tree in depth-first order, each item before its children.
    static void gather(QAccessibleInterface *root, Tree &tree) {
        tree.push_back(root);
        for (int index = 0; index < root->childCount(); ++index)
            gather(root->child(index), tree);
    }

    Tree tree() {
        Tree tree;
        gather(QAccessible::queryAccessibleInterface(&window()), tree);
        return tree;
    }

    static std::string name(QAccessibleInterface &thing) {
        return thing.text(QAccessible::Name).toStdString();
    }

    QAccessibleInterface &find(QAccessible::Role role, const std::string &itsName) {
        for (QAccessibleInterface *const each : tree())
            if (each->role() == role && name(*each) == itsName)
                return *each;
        throw std::runtime_error("no accessible item is called \"" + itsName + '"');
    }

    static std::vector<Node> nodesOf(const Tree &tree) {
        std::vector<Node> nodes;
        for (QAccessibleInterface *const each : tree)
            nodes.push_back({each->role(), name(*each)});
        return nodes;
    }

    std::vector<Node> everything() { return nodesOf(tree()); }

    /// The contents of a dialog, beginning with the dialog itself.
    std::vector<Node> dialog(const std::string &itsName) {
        Tree tree;
        gather(&find(QAccessible::Dialog, itsName), tree);
        return nodesOf(tree);
    }

    void pressIt(QAccessible::Role role, const std::string &itsName) {
        QAccessibleActionInterface *const actions = find(role, itsName).actionInterface();
        ASSERT_NE(actions, nullptr) << itsName;
        ASSERT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
        actions->doAction(QAccessibleActionInterface::pressAction());
        settle();
    }
};

INSTANTIATE_TEST_SUITE_P(BeforeAndAfterTheWindow, Accessibility, testing::Bool(),
                         [](const auto &starts) { return starts.param ? "Before" : "After"; });

TEST_P(Accessibility, ExposesMainScreenInOrder) {
    view().logMessages.replace({"Unzipping IPA...", "Image picked"});
    settle();
    EXPECT_THAT(
        everything(),
        ElementsAre(
            Node{QAccessible::Window, "Vellomir"}, Node{QAccessible::Button, "About Vellomir"},
            Node{QAccessible::Heading, "Vellomir"},
            Node{QAccessible::StaticText, "Easily modify your IPA files"},
            Node{QAccessible::Button, "Select IPA File"},
            Node{QAccessible::Heading, "Modify App's Information"},
            Node{QAccessible::EditableText, "Duplication Number"},
            Node{QAccessible::Button, "Change icon"}, Node{QAccessible::Button, "Do it"},
            Node{QAccessible::List, "Status log"}, Node{QAccessible::ListItem, "Unzipping IPA..."},
            Node{QAccessible::ListItem, "Image picked"},
            Node{QAccessible::StaticText, "Made with ❤️ By Orsanta Team"}));
    EXPECT_EQ(find(QAccessible::List, "Status log").childCount(), 2);
}

TEST_P(Accessibility, ExposesAboutSheet) {
    click("infoButton");
    EXPECT_THAT(dialog("About Vellomir"),
                ElementsAre(Node{QAccessible::Dialog, "About Vellomir"},
                            Node{QAccessible::Graphic, "Vellomir's mark, a quill"},
                            Node{QAccessible::Heading, "Vellomir"},
                            Node{QAccessible::StaticText, "V2.0"},
                            Node{QAccessible::StaticText, "For TrollStore Only | ios 14 and up"},
                            Node{QAccessible::StaticText,
                                 "Vellomir allows changing app icons and cloning by modifying "
                                 "app bundles."},
                            Node{QAccessible::Link, "Orsanta Website"},
                            Node{QAccessible::Link, "Telegram Channel"},
                            Node{QAccessible::Link, "More Apps"}, Node{QAccessible::Link, "Donate"},
                            Node{QAccessible::Button, "Close"}));
}

TEST_P(Accessibility, ExposesCropper) {
    QImage picture(30, 20, QImage::Format_RGB32);
    picture.fill(Qt::green);
    ASSERT_TRUE(picture.save(file("icon.png")));
    view().pickedImage(folder_.url("icon.png"));
    ASSERT_TRUE(becomes([this] { return isShown("useButton"); }));
    settle();
    EXPECT_THAT(dialog("Crop the picture"),
                ElementsAre(Node{QAccessible::Dialog, "Crop the picture"},
                            Node{QAccessible::Graphic, "The chosen picture"},
                            Node{QAccessible::Button, "Use"},
                            Node{QAccessible::Button, "Zoom it"}));
}

TEST_P(Accessibility, ExposesShareSheet) {
    openShareSheet();
    click("copyRow");
    EXPECT_THAT(
        dialog("Share Notes2.ipa"),
        IsSupersetOf({Node{QAccessible::Dialog, "Share Notes2.ipa"},
                      Node{QAccessible::Heading, "Notes2.ipa"},
                      Node{QAccessible::StaticText, "2.5 kB"},
                      Node{QAccessible::Button, "Save a copy…"},
                      Node{QAccessible::Button, "Send to a phone…"},
                      Node{QAccessible::Button, "Show in the file manager"},
                      Node{QAccessible::Button, "Copy the file"},
                      Node{QAccessible::AlertMessage, "Copied. Paste it before you close Vellomir"},
                      Node{QAccessible::Button, "Close"}}));
}

TEST_P(Accessibility, ExposesMessageOnlyWhileThereIsOne) {
    openShareSheet();
    const auto roles = [this] {
        std::vector<QAccessible::Role> found;
        for (const Node &each : dialog("Share Notes2.ipa"))
            found.push_back(each.role);
        return found;
    };
    EXPECT_THAT(roles(), Not(Contains(QAccessible::AlertMessage)));
    click("copyRow");
    EXPECT_THAT(roles(), Contains(QAccessible::AlertMessage));
}

TEST_P(Accessibility, ExposesSendSheet) {
    openShareSheet();
    click("sendRow");
    const std::string address = state().sharing()->sending()->address().toStdString();
    EXPECT_THAT(dialog("Send to a phone"),
                IsSupersetOf({Node{QAccessible::Dialog, "Send to a phone"},
                              Node{QAccessible::Heading, "Send to a phone"},
                              Node{QAccessible::Graphic, "QR code of the address"},
                              Node{QAccessible::StaticText, address},
                              Node{QAccessible::Button, "Copy the address"},
                              Node{QAccessible::AlertMessage, "Nothing sent yet"},
                              Node{QAccessible::Button, "Close"}}));
}

TEST_P(Accessibility, ExposesAlert) {
    state().setAlert(QStringLiteral("letter.txt is no picture."));
    settle();
    EXPECT_THAT(dialog("letter.txt is no picture."),
                IsSupersetOf({Node{QAccessible::Dialog, "letter.txt is no picture."},
                              Node{QAccessible::Button, "OK"}}));
    state().setAlert(QStringLiteral("And that is none either."));
    settle();
    EXPECT_THAT(everything(), Contains(Node{QAccessible::Dialog, "And that is none either."}));
}

TEST_P(Accessibility, EveryControlHasANameAndADescription) {
    int count = 0;
    const auto expectTexts = [this, &count] {
        for (QAccessibleInterface *const each : tree())
            if (each->role() == QAccessible::Button || each->role() == QAccessible::Link ||
                each->role() == QAccessible::EditableText) {
                ++count;
                EXPECT_NE(name(*each), "");
                EXPECT_NE(each->text(QAccessible::Description), "") << name(*each);
                EXPECT_NE(each->text(QAccessible::Description).toStdString(), name(*each));
                EXPECT_TRUE(each->state().focusable) << name(*each);
            }
    };
    expectTexts();
    click("infoButton");
    expectTexts();
    click("closeButton");
    openCropper();
    expectTexts();
    key(Qt::Key_Escape);
    openShareSheet();
    expectTexts();
    EXPECT_GT(count, 20);
}

TEST_P(Accessibility, CropperButtonsSayWhatTheyDo) {
    openCropper();
    EXPECT_EQ(find(QAccessible::Button, "Use").text(QAccessible::Description),
              "Keeps the picture as it is.");
    EXPECT_EQ(find(QAccessible::Button, "Zoom it").text(QAccessible::Description),
              "Crops the picture to its centred square.");
}

TEST_P(Accessibility, ExposesSheetsOnlyWhileOpen) {
    EXPECT_THAT(everything(), Not(Contains(Node{QAccessible::Button, "Close"})));
    click("infoButton");
    EXPECT_THAT(everything(), Contains(Node{QAccessible::Button, "Close"}));
    click("closeButton");
    EXPECT_THAT(everything(), Not(Contains(Node{QAccessible::Button, "Close"})));
}

TEST_P(Accessibility, ReportsChanges) {
    view().selectedImage.set(test::dot());
    view().isLoading.set(true);
    settle();
    EXPECT_THAT(everything(), IsSupersetOf({Node{QAccessible::Button, "Remove selected image"},
                                            Node{QAccessible::Button, "Doing Magic..."}}));
}

TEST_P(Accessibility, ReportsDisabledControls) {
    QAccessibleInterface &button = find(QAccessible::Button, "Select IPA File");
    const QString hint = button.text(QAccessible::Description);
    EXPECT_THAT(hint.toStdString(), testing::StartsWith("Chooses the package"));
    const QSignalSpy clicks = clicksOf("selectButton");
    view().isLoading.set(true);
    settle();
    EXPECT_EQ(button.text(QAccessible::Description), "Not available now. " + hint);
    pressIt(QAccessible::Button, "Select IPA File");
    EXPECT_EQ(clicks.count(), 0);
    view().isLoading.set(false);
    settle();
    EXPECT_EQ(button.text(QAccessible::Description), hint);
}

TEST_P(Accessibility, ReportsKeyboardFocus) {
    click("duplicationNumber");
    EXPECT_TRUE(find(QAccessible::EditableText, "Duplication Number").state().focused);
    key(Qt::Key_Tab);
    EXPECT_FALSE(find(QAccessible::EditableText, "Duplication Number").state().focused);
    EXPECT_TRUE(find(QAccessible::Button, "Change icon").state().focused);
}

TEST_P(Accessibility, NumberFieldIsReadableAndEditable) {
    click("duplicationNumber");
    type("42");
    QAccessibleInterface &field = find(QAccessible::EditableText, "Duplication Number");
    ASSERT_NE(field.textInterface(), nullptr);
    EXPECT_EQ(field.textInterface()->text(0, 2), "42");
}

TEST_P(Accessibility, MainScreenButtonsCanBePressed) {
    pressIt(QAccessible::Button, "Select IPA File");
    waitForDocumentDialog();
    pressIt(QAccessible::Button, "Change icon");
    EXPECT_EQ(pickers_.pictureDialogs, 1);
    pressIt(QAccessible::Button, "About Vellomir");
    EXPECT_TRUE(view().showInfoSheet.get());
    view().showInfoSheet.set(false);
    pressIt(QAccessible::Button, "Do it");
    EXPECT_TRUE(becomes([this] { return !view().isLoading.get(); }));
}

TEST_P(Accessibility, SheetButtonsAndLinksCanBePressed) {
    click("infoButton");
    pressIt(QAccessible::Link, "More Apps");
    EXPECT_THAT(desktop_.opened, ElementsAre("https:orsanta.example/otherapps.html"));
    pressIt(QAccessible::Button, "Close");
    EXPECT_FALSE(view().showInfoSheet.get());
    openShareSheet();
    pressIt(QAccessible::Button, "Copy the file");
    EXPECT_EQ(desktop_.copied.size(), 1);
    pressIt(QAccessible::Button, "Save a copy…");
    EXPECT_EQ(pickers_.destinationDialogs, 1);
}

} // namespace

} // namespace vellomir
