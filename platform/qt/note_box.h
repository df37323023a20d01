// A box of read-only lines.
#ifndef BRENHOLT_PLATFORM_QT_NOTE_BOX_H
#define BRENHOLT_PLATFORM_QT_NOTE_BOX_H

#include <QPlainTextEdit>
#include <string>
#include <string_view>

#include "platform/window/template.h"

namespace brenholt {

// An edit box of a template: the user can read, mark and copy what it shows. Lines do not wrap, Tab
// leaves the box, and Enter goes to the window unless the template has the box take it.
class NoteBox final : public QPlainTextEdit {
 public:
    explicit NoteBox(const ControlTemplate& control);

    void SetText(std::u16string_view text);
    // What was set, to the letter: nobody else writes here.
    const std::u16string& GetText() const { return m_text; }

 protected:
    void keyPressEvent(QKeyEvent* event) override;

 private:
    std::u16string m_text;
    bool m_wantsReturn;
};

}  // namespace brenholt

#endif
