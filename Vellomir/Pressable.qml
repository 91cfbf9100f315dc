import QtQuick
import QtQuick.Templates as T

// What every control that is pressed has in common: the keys and what assistive programs are told.
T.Button {
    id: control

    focusPolicy: Qt.StrongFocus
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: control.clicked()

    Keys.onPressed: event => {
        if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && !event.isAutoRepeat) {
            event.accepted = true;
            control.clicked();
        }
    }
}
