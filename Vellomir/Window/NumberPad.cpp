#include "Vellomir/Window/NumberPad.h"

#include <QKeyEvent>

namespace vellomir {
namespace {

bool isDigit(QChar character) {
    return character >= u'0' && character <= u'9';
}

/// Whether the key would put a character into the field that a number pad doesn't have.
bool typesAnotherCharacter(const QKeyEvent &event) {
    constexpr auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const QString text = event.text();
    if (text.isEmpty() || !text.front().isPrint())
        return false;
    // Two of them together are how some keyboards reach further characters.
    const auto held = event.modifiers() & commands;
    const bool isCommand = held != 0 && held != (Qt::ControlModifier | Qt::AltModifier);
    return !isCommand && !isDigit(text.front());
}

} // namespace

void NumberPad::setField(QObject *field) {
    if (field_ == field)
        return;
    if (field_ != nullptr)
        field_->removeEventFilter(this);
    field_ = field;
    if (field_ != nullptr)
        field_->installEventFilter(this);
    emit fieldChanged();
}

bool NumberPad::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::KeyPress &&
        typesAnotherCharacter(static_cast<QKeyEvent &>(*event)))
        return true;
    return QObject::eventFilter(watched, event);
}

} // namespace vellomir
