#include "Vellomir/Window/LogModel.h"

#include <gmock/gmock.h>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Row = std::pair<std::string, bool>; ///< a line, and whether it is new

class LogModelTest : public testing::Test {
protected:
    /// The model's signals since the last call.
    std::vector<std::string> run() {
        signals_.clear();
        loop_.runPending();
        return signals_;
    }

    std::vector<Row> rows() {
        std::vector<Row> rows;
        for (int row = 0; row < model_.rowCount(); ++row) {
            const QModelIndex index = model_.index(row);
            rows.emplace_back(model_.data(index, LogModel::lineRole).toString().toStdString(),
                              model_.data(index, LogModel::appearsRole).toBool());
        }
        return rows;
    }

    void SetUp() override {
        QObject::connect(&model_, &LogModel::rowsInserted, &model_,
                         [this](const QModelIndex &, int first, int last) {
                             signals_.push_back("rows " + std::to_string(first) + " to " +
                                                std::to_string(last));
                         });
        QObject::connect(&model_, &LogModel::modelReset, &model_,
                         [this] { signals_.emplace_back("all"); });
    }

    EventLoop loop_;
    LogMessages log_{loop_.queue()};
    LogModel model_{log_};

private:
    std::vector<std::string> signals_;
};

TEST_F(LogModelTest, AppendedLinesAreAdded) {
    EXPECT_THAT(rows(), IsEmpty());
    log_.append("one");
    EXPECT_THAT(run(), ElementsAre("rows 0 to 0"));
    log_.append("two");
    EXPECT_THAT(run(), ElementsAre("rows 1 to 1"));
    EXPECT_THAT(rows(), ElementsAre(Row("one", true), Row("two", true)));
}

TEST_F(LogModelTest, StartsWithExistingLines) {
    log_.append("one");
    loop_.runPending();
    LogModel late(log_);
    ASSERT_EQ(late.rowCount(), 1);
    EXPECT_EQ(late.data(late.index(0), LogModel::lineRole), QStringLiteral("one"));
    EXPECT_EQ(late.data(late.index(0), LogModel::appearsRole), false);
}

TEST_F(LogModelTest, EqualTextsAreTheSameLine) {
    log_.append("one");
    log_.append("one");
    log_.append("One");
    run();
    EXPECT_THAT(rows(), ElementsAre(Row("one", true), Row("one", false), Row("One", true)));
}

TEST_F(LogModelTest, ReplacementResetsModel) {
    log_.append("one");
    log_.append("two");
    run();
    log_.replace({"two", "three", "three"});
    EXPECT_THAT(run(), ElementsAre("all"));
    EXPECT_THAT(rows(), ElementsAre(Row("two", false), Row("three", true), Row("three", false)));
    log_.replace({});
    EXPECT_THAT(run(), ElementsAre("all"));
    EXPECT_THAT(rows(), IsEmpty());
    log_.append("two");
    run();
    EXPECT_THAT(rows(), ElementsAre(Row("two", true))) << "it had gone";
}

TEST_F(LogModelTest, KeepsTheOrderOfManyChanges) {
    log_.append("one");
    log_.replace({"two"});
    log_.append("three");
    run();
    EXPECT_THAT(rows(), ElementsAre(Row("two", true), Row("three", true)));
}

TEST_F(LogModelTest, KeepsNonAsciiText) {
    log_.append("Ausgewählt: 名前 🎉.ipa");
    run();
    EXPECT_EQ(rows().front().first, "Ausgewählt: 名前 🎉.ipa");
}

TEST_F(LogModelTest, HasOnlyItsRowsAndRoles) {
    log_.append("one");
    run();
    EXPECT_FALSE(model_.data(model_.index(0), Qt::DisplayRole).isValid());
    EXPECT_FALSE(model_.data({}, LogModel::lineRole).isValid());
    EXPECT_EQ(model_.rowCount(model_.index(0)), 0) << "it is no tree";
    EXPECT_EQ(model_.roleNames().value(LogModel::lineRole), "line");
    EXPECT_EQ(model_.roleNames().value(LogModel::appearsRole), "appears");
}

} // namespace

} // namespace vellomir
