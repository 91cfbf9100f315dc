// What assistive programs are told, and what they can do.

#include "tests/Vellomir/JobFixture.h"
#include "tests/window/WindowFixture.h"

#include <QAccessible>

#include <stdexcept>

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

namespace {

/// What an assistive program is told of one thing.
struct Told {
    QAccessible::Role role;
    std::string name;

    friend bool operator==(const Told &, const Told &) = default;
    friend void PrintTo(const Told &told, std::ostream *out) {
        *out << '"' << told.name << "\" with role " << told.role;
    }
};

using Tree = std::vector<QAccessibleInterface *>;

/// An assistive program comes before the window or after it.
class AnAssistiveProgram : public test::WindowTest, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        QAccessible::setActive(true);
        if (GetParam())
            open();
        settle();
    }

    void TearDown() override { QAccessible::setActive(false); }

    /// Everything in and below it, each before what it contains.
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
        throw std::runtime_error("no assistive program hears of \"" + itsName + '"');
    }

    static std::vector<Told> tell(const Tree &tree) {
        std::vector<Told> told;
        for (QAccessibleInterface *const each : tree)
            told.push_back({each->role(), name(*each)});
        return told;
    }

    std::vector<Told> everything() { return tell(tree()); }

    /// What is in a dialog, the dialog first.
    std::vector<Told> dialog(const std::string &itsName) {
        Tree tree;
        gather(&find(QAccessible::Dialog, itsName), tree);
        return tell(tree);
    }

    void pressIt(QAccessible::Role role, const std::string &itsName) {
        QAccessibleActionInterface *const actions = find(role, itsName).actionInterface();
        ASSERT_NE(actions, nullptr) << itsName;
        ASSERT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
        actions->doAction(QAccessibleActionInterface::pressAction());
        settle();
    }

    void openShareSheet() {
        test::writeFile(folder_ / "Notes2.ipa", std::string(2500, 'x'));
        view().modifiedFileURL.set(folder_.url("Notes2.ipa"));
        view().showShareSheet.set(true);
        settle();
    }
};

INSTANTIATE_TEST_SUITE_P(BeforeAndAfterTheWindow, AnAssistiveProgram, testing::Bool(),
                         [](const auto &comes) { return comes.param ? "Before" : "After"; });

TEST_P(AnAssistiveProgram, HearsOfTheMainScreenInOrder) {
    view().logMessages.replace({"Unzipping IPA...", "Image picked"});
    settle();
    EXPECT_THAT(
        everything(),
        ElementsAre(
            Told{QAccessible::Window, "Vellomir"}, Told{QAccessible::Button, "About Vellomir"},
            Told{QAccessible::Heading, "Vellomir"},
            Told{QAccessible::StaticText, "Easily modify your IPA files"},
            Told{QAccessible::Button, "Select IPA File"},
            Told{QAccessible::Heading, "Modify App's Information"},
            Told{QAccessible::EditableText, "Duplication Number"},
            Told{QAccessible::Button, "Change icon"}, Told{QAccessible::Button, "Do it"},
            Told{QAccessible::List, "Status log"}, Told{QAccessible::ListItem, "Unzipping IPA..."},
            Told{QAccessible::ListItem, "Image picked"},
            Told{QAccessible::StaticText, "Made with ❤️ By Orsanta Team"}));
    EXPECT_EQ(find(QAccessible::List, "Status log").childCount(), 2);
}

TEST_P(AnAssistiveProgram, HearsOfTheAboutSheet) {
    click("infoButton");
    EXPECT_THAT(dialog("About Vellomir"),
                ElementsAre(Told{QAccessible::Dialog, "About Vellomir"},
                            Told{QAccessible::Graphic, "Vellomir's mark, a quill"},
                            Told{QAccessible::Heading, "Vellomir"},
                            Told{QAccessible::StaticText, "V2.0"},
                            Told{QAccessible::StaticText, "For TrollStore Only | ios 14 and up"},
                            Told{QAccessible::StaticText,
                                 "Vellomir allows changing app icons and cloning by modifying "
                                 "app bundles."},
                            Told{QAccessible::Link, "Orsanta Website"},
                            Told{QAccessible::Link, "Telegram Channel"},
                            Told{QAccessible::Link, "More Apps"}, Told{QAccessible::Link, "Donate"},
                            Told{QAccessible::Button, "Close"}));
}

TEST_P(AnAssistiveProgram, HearsOfTheCropper) {
    QImage picture(30, 20, QImage::Format_RGB32);
    picture.fill(Qt::green);
    ASSERT_TRUE(picture.save(file("icon.png")));
    view().pickedImage(folder_.url("icon.png"));
    ASSERT_TRUE(becomes([this] { return isShown("useButton"); }));
    settle();
    EXPECT_THAT(dialog("Crop the picture"),
                ElementsAre(Told{QAccessible::Dialog, "Crop the picture"},
                            Told{QAccessible::Graphic, "The chosen picture"},
                            Told{QAccessible::Button, "Use"},
                            Told{QAccessible::Button, "Zoom it"}));
}

TEST_P(AnAssistiveProgram, HearsOfTheShareSheet) {
    openShareSheet();
    click("copyRow");
    EXPECT_THAT(
        dialog("Share Notes2.ipa"),
        IsSupersetOf({Told{QAccessible::Dialog, "Share Notes2.ipa"},
                      Told{QAccessible::Heading, "Notes2.ipa"},
                      Told{QAccessible::StaticText, "2.5 kB"},
                      Told{QAccessible::Button, "Save a copy…"},
                      Told{QAccessible::Button, "Show in the file manager"},
                      Told{QAccessible::Button, "Copy the file"},
                      Told{QAccessible::AlertMessage, "Copied. Paste it before you close Vellomir"},
                      Told{QAccessible::Button, "Close"}}));
}

TEST_P(AnAssistiveProgram, HearsOfAnAlert) {
    state().setAlert(QStringLiteral("letter.txt is no picture."));
    settle();
    EXPECT_THAT(dialog("letter.txt is no picture."),
                IsSupersetOf({Told{QAccessible::Dialog, "letter.txt is no picture."},
                              Told{QAccessible::Button, "OK"}}));
    state().setAlert(QStringLiteral("And that is none either."));
    settle();
    EXPECT_THAT(everything(), Contains(Told{QAccessible::Dialog, "And that is none either."}));
}

TEST_P(AnAssistiveProgram, HearsANameOfEverythingThatCanBePressed) {
    const auto expectNames = [this] {
        for (QAccessibleInterface *const each : tree())
            if (each->role() == QAccessible::Button || each->role() == QAccessible::Link) {
                EXPECT_NE(name(*each), "");
                EXPECT_TRUE(each->state().focusable) << name(*each);
            }
    };
    expectNames();
    click("infoButton");
    expectNames();
    click("closeButton");
    openShareSheet();
    expectNames();
}

TEST_P(AnAssistiveProgram, HearsOfASheetOnlyWhileItIsOpen) {
    EXPECT_THAT(everything(), Not(Contains(Told{QAccessible::Button, "Close"})));
    click("infoButton");
    EXPECT_THAT(everything(), Contains(Told{QAccessible::Button, "Close"}));
    click("closeButton");
    EXPECT_THAT(everything(), Not(Contains(Told{QAccessible::Button, "Close"})));
}

TEST_P(AnAssistiveProgram, HearsWhatChanges) {
    view().selectedImage.set(test::dot());
    view().isLoading.set(true);
    settle();
    EXPECT_THAT(everything(), IsSupersetOf({Told{QAccessible::Button, "Remove selected image"},
                                            Told{QAccessible::Button, "Doing Magic..."}}));
}

TEST_P(AnAssistiveProgram, HearsWhatCannotBePressedNow) {
    QAccessibleInterface &button = find(QAccessible::Button, "Select IPA File");
    EXPECT_EQ(button.text(QAccessible::Description), "");
    view().isLoading.set(true);
    settle();
    EXPECT_EQ(button.text(QAccessible::Description), "Not available now");
    pressIt(QAccessible::Button, "Select IPA File");
    EXPECT_EQ(pickers_.documentDialogs, 0);
    view().isLoading.set(false);
    settle();
    EXPECT_EQ(button.text(QAccessible::Description), "");
}

TEST_P(AnAssistiveProgram, HearsWhereTheKeyboardIs) {
    click("duplicationNumber");
    EXPECT_TRUE(find(QAccessible::EditableText, "Duplication Number").state().focused);
    key(Qt::Key_Tab);
    EXPECT_FALSE(find(QAccessible::EditableText, "Duplication Number").state().focused);
    EXPECT_TRUE(find(QAccessible::Button, "Change icon").state().focused);
}

TEST_P(AnAssistiveProgram, ReadsAndWritesTheNumber) {
    click("duplicationNumber");
    type("42");
    QAccessibleInterface &field = find(QAccessible::EditableText, "Duplication Number");
    ASSERT_NE(field.textInterface(), nullptr);
    EXPECT_EQ(field.textInterface()->text(0, 2), "42");
}

TEST_P(AnAssistiveProgram, PressesTheMainScreensButtons) {
    pressIt(QAccessible::Button, "Select IPA File");
    EXPECT_EQ(pickers_.documentDialogs, 1);
    pressIt(QAccessible::Button, "Change icon");
    EXPECT_EQ(pickers_.pictureDialogs, 1);
    pressIt(QAccessible::Button, "About Vellomir");
    EXPECT_TRUE(view().showInfoSheet.get());
    view().showInfoSheet.set(false);
    pressIt(QAccessible::Button, "Do it");
    EXPECT_TRUE(becomes([this] { return !view().isLoading.get(); }));
}

TEST_P(AnAssistiveProgram, PressesTheSheetsButtonsAndLinks) {
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
