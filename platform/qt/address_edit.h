// A control for an IPv4 address.
#ifndef BRENHOLT_PLATFORM_QT_ADDRESS_EDIT_H
#define BRENHOLT_PLATFORM_QT_ADDRESS_EDIT_H

#include <QWidget>
#include <array>
#include <functional>

#include "platform/window/backend.h"

namespace brenholt {

class AddressField;

// Four fields in one frame, for the keyboard one control: Tab enters the first and leaves from any.
// A field advances at '.' and after three digits; at its ends Backspace and the arrows go on to its
// neighbours. A number above 255 becomes 255. A pasted dotted address fills all four.
class AddressEdit final : public QWidget, public AddressView {
 public:
    // `changed` is called after each change that the user made.
    AddressEdit(const ControlTemplate& control, std::function<void()> changed);

    void SetAddress(const std::array<uint8_t, 4>& fields) override;
    int GetAddress(std::array<uint8_t, 4>& fields) const override;

 protected:
    void paintEvent(QPaintEvent* event) override;

 private:
    friend class AddressField;
    void Enter(size_t field, int cursor);
    void EnterNext(const AddressField& field);
    bool PasteAddress(const QString& text);

    std::function<void()> m_changed;
    std::array<AddressField*, 4> m_fields{};
};

}  // namespace brenholt

#endif
