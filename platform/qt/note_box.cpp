#include "platform/qt/note_box.h"

#include <QKeyEvent>
#include <QTextDocument>

#include "platform/qt/text.h"
#include "platform/window/codes.h"

namespace brenholt {

NoteBox::NoteBox(const ControlTemplate& control)
    : m_wantsReturn((control.style & ES_WANTRETURN) != 0) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setLineWrapMode(NoWrap);
    // It would cover the last of the lines that the box is made for.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setUndoRedoEnabled(false);
    // Below the lines there is no room to give away.
    document()->setDocumentMargin(0);
    setViewportMargins(2, 1, 0, 0);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
}

void NoteBox::SetText(std::u16string_view text) {
    m_text = text;
    setPlainText(ToLines(text));
}

void NoteBox::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter) {
        event->setAccepted(m_wantsReturn);
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
}

}  // namespace brenholt
