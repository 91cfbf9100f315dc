// Qt's own file dialogs.

#include "Vellomir/Window/FilePickers.h"

#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <QTest>

#include <filesystem>

#include <gmock/gmock.h>

namespace vellomir {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

/// The home folder of the whole test program; set before Qt reads it.
const test::TemporaryFolder home;
[[maybe_unused]] const bool isHome = [] {
    qputenv("HOME", QByteArray::fromStdString(home.path().string()));
    for (const char *const folder : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qunsetenv(folder);
    return true;
}();

class FileDialogs : public testing::Test {
protected:
    /// An open dialog; null if there is none.
    static QFileDialog *dialog(const char *title) {
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            auto *const found = qobject_cast<QFileDialog *>(widget);
            if (found != nullptr && found->isVisible() &&
                found->windowTitle() == QLatin1String(title))
                return found;
        }
        return nullptr;
    }

    static std::vector<std::string> filesOfTheHome() {
        std::vector<std::string> files;
        for (const auto &each : std::filesystem::recursive_directory_iterator(home.path()))
            files.push_back(each.path().filename().string());
        return files;
    }

    static void closeDialog(const char *title) {
        QFileDialog *const opened = dialog(title);
        ASSERT_NE(opened, nullptr) << title;
        opened->reject();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    static QFileDialog::ViewMode viewOf(const char *title) { return dialog(title)->viewMode(); }

    /// Offers the name, accepts the dialog, and returns the resulting name.
    std::string savedAs(const QString &name) {
        std::string saved;
        pickers_.pickDestination(name, [&](const auto &picked) {
            saved = picked ? picked->fileName().toStdString() : "nothing";
        });
        QFileDialog *const opened = dialog("Save a copy");
        opened->setDirectory(QString::fromStdString(folder_.path().string()));
        static_cast<QDialog *>(opened)->done(QDialog::Accepted);
        return saved;
    }

    test::TemporaryFolder folder_;
    FilePickers pickers_;
};

TEST_F(FileDialogs, QuotesInSuggestedNameAreReplaced) {
    EXPECT_EQ(savedAs(QStringLiteral("Notes2.ipa")), "Notes2.ipa");
    EXPECT_EQ(savedAs(QStringLiteral("My \"App\" x7.ipa")), "My 'App' x7.ipa");
}

TEST_F(FileDialogs, ReplacedDialogIsCancelled) {
    std::vector<bool> answers;
    pickers_.pickPicture([&](const auto &picked) { answers.push_back(picked.has_value()); });
    ASSERT_NE(dialog("Choose a picture"), nullptr);
    pickers_.pickDocument([](const auto &) {});
    EXPECT_THAT(answers, ElementsAre(false));
    EXPECT_EQ(dialog("Choose a picture"), nullptr);
    EXPECT_NE(dialog("Select IPA File"), nullptr);
}

TEST_F(FileDialogs, WriteNothingToHomeFolder) {
    for (const char *const file : {".config", ".local"})
        std::filesystem::create_directories(home.path() / file);
    {
        FilePickers pickers;
        pickers.pickDocument([](const auto &) {});
        closeDialog("Select IPA File");
        pickers.pickPicture([](const auto &) {});
        closeDialog("Choose a picture");
        pickers.pickDestination(QStringLiteral("Notes2.ipa"), [](const auto &) {});
        closeDialog("Save a copy");
        pickers.pickDocument([](const auto &) {}); // Left open when the program ends.
    }
    EXPECT_THAT(filesOfTheHome(), UnorderedElementsAre(".config", ".local"));
}

TEST_F(FileDialogs, EachKindRemembersItsView) {
    pickers_.pickPicture([](const auto &) {});
    EXPECT_EQ(viewOf("Choose a picture"), QFileDialog::List);
    closeDialog("Choose a picture");
    pickers_.pickDocument([](const auto &) {});
    EXPECT_EQ(viewOf("Select IPA File"), QFileDialog::Detail);
    dialog("Select IPA File")->setViewMode(QFileDialog::List);
    closeDialog("Select IPA File");
    pickers_.pickDestination(QStringLiteral("Notes2.ipa"), [](const auto &) {});
    EXPECT_EQ(viewOf("Save a copy"), QFileDialog::Detail);
    closeDialog("Save a copy");
    pickers_.pickDocument([](const auto &) {});
    EXPECT_EQ(viewOf("Select IPA File"), QFileDialog::List) << "as it was left";
    closeDialog("Select IPA File");
}

TEST_F(FileDialogs, ViewsAreNotStored) {
    {
        FilePickers before;
        before.pickDocument([](const auto &) {});
        dialog("Select IPA File")->setViewMode(QFileDialog::List);
        closeDialog("Select IPA File");
    }
    pickers_.pickDocument([](const auto &) {});
    EXPECT_EQ(viewOf("Select IPA File"), QFileDialog::Detail);
}

} // namespace

} // namespace vellomir
