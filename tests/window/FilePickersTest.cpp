// The file dialogs that are Qt's own.

#include "Vellomir/Window/FilePickers.h"

#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <QTest>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class TheFilePickers : public testing::Test {
protected:
    /// Of those that are open; null if there is none.
    static QFileDialog *dialog(const char *title) {
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            auto *const found = qobject_cast<QFileDialog *>(widget);
            if (found != nullptr && found->isVisible() &&
                found->windowTitle() == QLatin1String(title))
                return found;
        }
        return nullptr;
    }

    /// Offers the name, agrees, and returns the name that comes of it.
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
    vellomir::FilePickers pickers_;
};

TEST_F(TheFilePickers, OfferANameThatTheDialogTakesAsOne) {
    EXPECT_EQ(savedAs(QStringLiteral("Notes2.ipa")), "Notes2.ipa");
    EXPECT_EQ(savedAs(QStringLiteral("My \"App\" x7.ipa")), "My 'App' x7.ipa");
}

TEST_F(TheFilePickers, AnswerForADialogThatAnotherOneTakesThePlaceOf) {
    std::vector<bool> answers;
    pickers_.pickPicture([&](const auto &picked) { answers.push_back(picked.has_value()); });
    ASSERT_NE(dialog("Choose a picture"), nullptr);
    pickers_.pickDocument([](const auto &) {});
    EXPECT_THAT(answers, ElementsAre(false));
    EXPECT_EQ(dialog("Choose a picture"), nullptr);
    EXPECT_NE(dialog("Select IPA File"), nullptr);
}

} // namespace
