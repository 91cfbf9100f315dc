#include "Vellomir/Window/LineBreakFilter.h"

#include <QVariant>

#include <algorithm>

namespace vellomir {
namespace {

bool isLineBreak(QChar character) {
    static const QString lineBreaks = QStringLiteral("\n\v\f\r\u0085\u2028\u2029");
    return lineBreaks.contains(character);
}

} // namespace

void LineBreakFilter::setField(QObject *field) {
    if (field_ == field)
        return;
    field_ = field;
    if (field_)
        field_->setProperty("validator", QVariant::fromValue<QValidator *>(&validator_));
    emit fieldChanged();
}

QValidator::State LineBreakFilter::Validator::validate(QString &text, int &caret) const {
    const auto before = text.left(caret);
    caret -= static_cast<int>(std::count_if(before.begin(), before.end(), isLineBreak));
    text.removeIf(isLineBreak);
    return Acceptable;
}

} // namespace vellomir
