import QtQuick
import QtQuick.Templates as T
import Vellomir

// A centred line of text for a number pad. Line breaks in pasted text are dropped: "4<break>2"
// becomes "42", so a number can be copied with its line end. Qt's template draws no placeholder.
T.TextField {
    id: control

    required property string placeholder
    // What the text is for, in one or two sentences.
    required property string hint
    // Passes the text to its owner after each edit.
    signal edited(text: string)

    // Handles every edit and every move of the caret.
    component Coordinator: QtObject {
        required property T.TextField parent
        signal changed(text: string)

        function textFieldDidChangeSelection(): void {
            changed(parent.text);
        }
    }

    readonly property Coordinator coordinator: Coordinator {
        parent: control
        onChanged: text => control.edited(text)
    }

    color: Style.white
    font: Fonts.forText(Style.body, text + preeditText)
    horizontalAlignment: TextInput.AlignHCenter
    verticalAlignment: TextInput.AlignVCenter
    inputMethodHints: Qt.ImhDigitsOnly
    selectByMouse: true
    hoverEnabled: true
    selectionColor: Style.accent
    selectedTextColor: Style.background
    // Not drawn. Qt gives it to assistive programs as the description, over the one below.
    placeholderText: hint

    Accessible.role: Accessible.EditableText
    Accessible.name: placeholder
    Accessible.description: hint

    onTextChanged: coordinator.textFieldDidChangeSelection()
    onCursorPositionChanged: coordinator.textFieldDidChangeSelection()

    background: Rectangle {
        color: Style.field
        radius: Style.radius

        FocusRing {
            isShown: control.activeFocus
        }
    }

    HintArea {
        text: control.hint
        isHovered: control.hovered
        isUsed: control.activeFocus
    }

    NumberPad {
        field: control
    }

    LineBreakFilter {
        field: control
    }

    Text {
        anchors.fill: parent
        visible: control.text === "" && control.preeditText === ""
        text: control.placeholder
        color: Style.grey
        font: control.font
        fontSizeMode: Text.HorizontalFit
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
