#include "platform/qt/address_edit.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#include <QStyle>
#include <QStyleOptionFrame>
#include <algorithm>
#include <utility>

#include "platform/qt/text.h"

namespace brenholt {
namespace {

constexpr int kDigits = 3;

// More digits than fit a field count as the greatest number.
int FieldValue(const QString& digits) {
    bool fits = false;
    const uint value = digits.toUInt(&fits);
    return fits ? static_cast<int>(std::min(value, 255U)) : 255;
}

}  // namespace

// One number of the address.
class AddressField final : public QLineEdit {
 public:
    AddressField(AddressEdit& address, size_t index, const QString& name)
        : QLineEdit(&address), m_address(address), m_index(index) {
        setFrame(false);
        setAlignment(Qt::AlignCenter);
        setAccessibleName(name);
        setInputMethodHints(Qt::ImhDigitsOnly);
        setFocusPolicy(index == 0 ? Qt::StrongFocus : Qt::ClickFocus);
        setValidator(new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("[0-9]{0,%1}").arg(kDigits)), this));
        connect(this, &QLineEdit::textEdited, this, [this] { Edited(); });
    }

 protected:
    void keyPressEvent(QKeyEvent* event) override {
        const bool entered = std::exchange(m_entered, false);
        if (event->matches(QKeySequence::Paste)) {
            Paste(QApplication::clipboard()->text());
        } else if (event->text() == u"." || event->text() == u",") {
            // Who types the dot after a third digit is in the next field already.
            if (!entered && !text().isEmpty()) {
                m_address.EnterNext(*this);
            }
        } else if (!GoToNeighbour(*event)) {
            QLineEdit::keyPressEvent(event);
        }
    }

    void focusOutEvent(QFocusEvent* event) override {
        m_entered = false;
        QLineEdit::focusOutEvent(event);
        m_address.update();
    }

    void focusInEvent(QFocusEvent* event) override {
        QLineEdit::focusInEvent(event);
        m_address.update();
    }

    bool focusNextPrevChild(bool next) override {
        if (!next) {
            m_address.Enter(0, 0);
        }
        return QLineEdit::focusNextPrevChild(next);
    }

    void mouseReleaseEvent(QMouseEvent* event) override {
        const QClipboard* clipboard = QApplication::clipboard();
        if (event->button() == Qt::MiddleButton && clipboard->supportsSelection()) {
            Paste(clipboard->text(QClipboard::Selection));
        } else {
            QLineEdit::mouseReleaseEvent(event);
        }
    }

    void contextMenuEvent(QContextMenuEvent* event) override {
        // Not the standard menu: its Paste knows one field only.
        auto* menu = new QMenu(this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->addAction(QStringLiteral("Cu&t"), this, &QLineEdit::cut)
            ->setEnabled(hasSelectedText());
        menu->addAction(QStringLiteral("&Copy"), this, &QLineEdit::copy)
            ->setEnabled(hasSelectedText());
        menu->addAction(QStringLiteral("&Paste"), this,
                        [this] { Paste(QApplication::clipboard()->text()); });
        menu->addAction(QStringLiteral("Select &All"), this, &QLineEdit::selectAll);
        menu->popup(event->globalPos());
    }

 private:
    void Paste(const QString& text) {
        if (!m_address.PasteAddress(text.trimmed())) {
            insert(text.trimmed());
        }
    }

    void Edited() {
        const bool full = text().size() == kDigits;
        if (full && text() != QString::number(FieldValue(text()))) {
            setText(QString::number(FieldValue(text())));
        }
        if (full && cursorPosition() == text().size()) {
            m_address.EnterNext(*this);
        }
        m_address.m_changed();
    }

    // Whether the key left the field.
    bool GoToNeighbour(const QKeyEvent& event) {
        if (event.modifiers() & ~Qt::KeypadModifier) {
            return false;
        }
        const int key = event.key();
        const bool atStart = cursorPosition() == 0 && !hasSelectedText();
        const bool atEnd = cursorPosition() == text().size() && !hasSelectedText();
        if (key == Qt::Key_Home) {
            m_address.Enter(0, 0);
        } else if (key == Qt::Key_End) {
            m_address.Enter(3, kDigits);
        } else if (m_index > 0 && atStart && (key == Qt::Key_Left || key == Qt::Key_Backspace)) {
            m_address.Enter(m_index - 1, kDigits);
        } else if (m_index < 3 && atEnd && key == Qt::Key_Right) {
            m_address.Enter(m_index + 1, 0);
        } else {
            return false;
        }
        return true;
    }

    friend class AddressEdit;
    AddressEdit& m_address;
    size_t m_index;
    bool m_entered = false;  // typing led here from the field before, and went no further yet
};

AddressEdit::AddressEdit(const ControlTemplate& control, std::function<void()> changed)
    : m_changed(std::move(changed)) {
    auto* layout = new QHBoxLayout(this);
    const int frame = style()->pixelMetric(QStyle::PM_DefaultFrameWidth);
    layout->setContentsMargins(frame, frame, frame, frame);
    layout->setSpacing(0);
    const QString name = ToQString(control.caption);
    for (size_t i = 0; i < m_fields.size(); ++i) {
        if (i > 0) {
            layout->addWidget(new QLabel(QStringLiteral("."), this));
        }
        m_fields[i] =
            new AddressField(*this, i, QStringLiteral("%1, number %2 of 4").arg(name).arg(i + 1));
        layout->addWidget(m_fields[i], 1);
    }
    setAccessibleName(name);
    setFocusProxy(m_fields[0]);
}

void AddressEdit::SetAddress(const std::array<uint8_t, 4>& fields) {
    for (size_t i = 0; i < fields.size(); ++i) {
        m_fields[i]->setText(QString::number(fields[i]));
    }
}

int AddressEdit::GetAddress(std::array<uint8_t, 4>& fields) const {
    int filled = 0;
    for (size_t i = 0; i < fields.size(); ++i) {
        const QString text = m_fields[i]->text();
        filled += text.isEmpty() ? 0 : 1;
        fields[i] = text.isEmpty() ? 0 : static_cast<uint8_t>(FieldValue(text));
    }
    return filled;
}

void AddressEdit::Enter(size_t field, int cursor) {
    m_fields[field]->setFocus();
    m_fields[field]->setCursorPosition(cursor);
}

void AddressEdit::EnterNext(const AddressField& field) {
    const size_t next = field.m_index + 1;
    if (next < m_fields.size()) {
        m_fields[next]->setFocus();
        m_fields[next]->selectAll();
        m_fields[next]->m_entered = true;
    }
}

bool AddressEdit::PasteAddress(const QString& text) {
    const QStringList parts = text.split(u'.');
    const auto bad = [](const QString& part) {
        return part.isEmpty() || !std::all_of(part.begin(), part.end(),
                                              [](QChar c) { return c >= u'0' && c <= u'9'; });
    };
    if (parts.size() != static_cast<int>(m_fields.size()) ||
        std::any_of(parts.begin(), parts.end(), bad)) {
        return false;
    }
    for (size_t i = 0; i < m_fields.size(); ++i) {
        m_fields[i]->setText(QString::number(FieldValue(parts[static_cast<int>(i)])));
    }
    Enter(m_fields.size() - 1, kDigits);
    m_changed();
    return true;
}

// The frame of a line edit, whatever that is in the desktop's style.
void AddressEdit::paintEvent(QPaintEvent* /*event*/) {
    QStyleOptionFrame option;
    option.initFrom(this);
    option.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, this);
    option.state |= QStyle::State_Sunken;
    const auto focused = [](const AddressField* field) { return field->hasFocus(); };
    option.state.setFlag(QStyle::State_HasFocus,
                         std::any_of(m_fields.begin(), m_fields.end(), focused));
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &option, &painter, this);
}

}  // namespace brenholt
