#include "Vellomir/Window/NumberPad.h"

#include <QInputMethodEvent>
#include <QKeyEvent>

#include <algorithm>

namespace vellomir {
namespace {

bool isOnNumberPad(char32_t character) {
    return (character >= U'0' && character <= U'9') || !QChar::isPrint(character);
}

bool hasAnotherCharacter(const QString &text) {
    const auto characters = text.toUcs4();
    return !std::all_of(characters.begin(), characters.end(), isOnNumberPad);
}

/// Whether the key would type a character that a number pad does not have.
bool typesAnotherCharacter(const QKeyEvent &event) {
    constexpr auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    // Ctrl+Alt types further characters on some keyboards, like AltGr.
    const auto held = event.modifiers() & commands;
    const bool isCommand = held != 0 && held != (Qt::ControlModifier | Qt::AltModifier);
    return !isCommand && hasAnotherCharacter(event.text());
}

/// The same for text from an input method, composed or committed.
bool typesAnotherCharacter(const QInputMethodEvent &event) {
    return hasAnotherCharacter(event.commitString()) || hasAnotherCharacter(event.preeditString());
}

bool isUnwanted(QEvent &event) {
    switch (event.type()) {
    case QEvent::KeyPress:
        return typesAnotherCharacter(static_cast<QKeyEvent &>(event));
    case QEvent::InputMethod:
        return typesAnotherCharacter(static_cast<QInputMethodEvent &>(event));
    default:
        return false;
    }
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
    return isUnwanted(*event) || QObject::eventFilter(watched, event);
}

} // namespace vellomir
