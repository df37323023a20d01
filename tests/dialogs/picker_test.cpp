// The panel picker, its owner-drawn list, and the layout of all templates.
#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <utility>

#include "dialogs/list_ctrl_ex.h"
#include "dialogs/tv_list_dlg.h"
#include "platform/text.h"
#include "tests/dialogs/dialog_fixture.h"

namespace brenholt {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Box = ScriptedBackend::Box;

// Writes down what is drawn, in a font whose characters are all 10 pixels wide.
class RecordingDC final : public CDC {
 public:
    void SetTextColor(COLORREF color) override { Note("text", color & 0xFF); }
    void SetBkColor(COLORREF color) override { Note("back", color & 0xFF); }
    void SetTextAlign(uint32_t align) override { Note("align", align); }
    int GetTextExtent(std::u16string_view text) override {
        return 10 * static_cast<int>(text.size());
    }
    void ExtTextOutW(int x, int y, uint32_t options, const RECT& r,
                     std::u16string_view text) override {
        Note("write", x, y, options, r.left, r.top, r.right, r.bottom, WideCharToMultiByte(text));
    }
    void DrawFocusRect(const RECT& r) override { Note("focus", r.left, r.top, r.right, r.bottom); }
    void DrawImage(const ImageStrip& images, int index, int x, int y, uint32_t style) override {
        EXPECT_EQ(images.pixels.size(), 16U * 16U);
        Note("image", index, x, y, style);
    }

    std::vector<std::string> calls;

 private:
    template <class... Args>
    void Note(const Args&... args) {
        std::ostringstream line;
        ((line << args << ' '), ...);
        calls.push_back(line.str());
    }
};

using PickerTest = DialogFixture;

TEST_F(PickerTest, TheDoorStoresTheChoiceAndCounts) {
    link->m_ping.m_strSelIp = u"before";
    Hear(u"10.0.0.5", u"Line1", kCpuArm, 102);
    Hear(u"10.9.0.6", u"100%s\n", kCpuUnknown, -7);
    backend.Then([&](ScriptedWindow& window) {
        EXPECT_THAT(window.Rows(), ElementsAre(Cells{u"10.0.0.5", u"Line1", u"4000"},
                                               Cells{u"10.9.0.6", u"100%s\\x0A", u"4000"}));
        EXPECT_EQ(window.list.emptyText, u"No panel heard yet. Refresh looks again.");
        window.Press(IDOK);
        EXPECT_THAT(backend.TakeBoxes(),
                    ElementsAre(Box{
                        u"No Tavrin unit is chosen.\n\nPlease choose one of  listed Tavrin units.",
                        MB_ICONHAND}));
    });
    EXPECT_EQ(link->m_ping.ShowPanelList(), 2);
    EXPECT_EQ(link->m_ping.m_strSelIp, u"before");

    backend.Then([&](ScriptedWindow& window) {
        window.Select(0);
        {
            const CSingleLock lock(link->m_ping.m_lock);
            link->m_ping.m_listUnits.pop_front();
        }
        window.Press(1021);
        EXPECT_EQ(window.Rows().size(), 1U);
        EXPECT_EQ(window.list.selected, -1);
        window.Select(0);
        window.Press(IDOK);
    });
    EXPECT_EQ(link->m_ping.ShowPanelList(), 1);
    EXPECT_EQ(link->m_ping.m_strSelIp, u"10.9.0.6");
    EXPECT_EQ(link->m_ping.m_strSelProject, u"100%s\n");
    EXPECT_EQ(link->m_ping.m_nSelCpu, kCpuUnknown);
    EXPECT_EQ(link->m_ping.m_nSelVersion, -7);
    EXPECT_THAT(backend.boxes,
                ElementsAre(Box{u"Connection will be changed to the following Tavrin unit.\n\n"
                                u"IP : 10.9.0.6\n\nProject : 100%s\\x0A",
                                MB_ICONINFORMATION}));
    EXPECT_EQ(TargetIp(), u"192.168.0.1");

    backend.Then([](ScriptedWindow& window) { window.CloseBox(); });
    EXPECT_EQ(link->m_ping.ShowPanelList(), 1);
    backend.noDisplay = true;
    EXPECT_EQ(link->m_ping.ShowPanelList(), 1);
    link->m_ping.m_bStopped = 1;
    EXPECT_EQ(link->m_ping.ShowPanelList(), 0);
}

TEST_F(PickerTest, DrawsARowCellByCell) {
    Hear(u"10.0.0.5", u"A\nlong project name", kCpuArm, 102);
    RecordingDC dc;
    const auto draw = [&](ScriptedWindow& window, uint32_t action, uint32_t state) {
        DRAWITEMSTRUCT request{0, action, state, &dc, {5, 40, 255, 56}};
        window.Draw(request);
        return std::exchange(dc.calls, {});
    };
    backend.Then([&](ScriptedWindow& window) {
        for (const uint32_t action : {0, 3, 5}) {
            EXPECT_THAT(draw(window, action, ODS_SELECTED | ODS_FOCUS), IsEmpty());
        }
        const std::vector<std::string> cells = {
            "align 0 ",
            "image 0 5 40 1 ",
            "write 24 43 6 21 40 105 56 10.0.0.5 ",
            "align 0 ",
            "write 108 43 6 105 40 205 56 A\\x0Al... ",
            "align 0 ",
            "write 208 43 6 205 40 255 56 4000 ",
            "text 8 ",
            "back 5 ",
        };
        EXPECT_THAT(draw(window, ODA_DRAWENTIRE, 0), ElementsAreArray(cells));
        std::vector<std::string> selected = {"text 14 ", "back 13 "};
        selected.insert(selected.end(), cells.begin(), cells.end());
        selected.emplace_back("focus 21 40 255 56 ");
        EXPECT_THAT(draw(window, ODA_FOCUS, ODS_SELECTED | ODS_FOCUS), ElementsAreArray(selected));
    });
    link->m_ping.ShowPanelList();
}

TEST(FitTextTest, ShortensFromTheEndUntilTheDotsFit) {
    const std::tuple<std::u16string, int, std::u16string> cases[] = {
        {u"12345678", 84, u"12345678"},  // fits exactly
        {u"12345678", 83, u"1234..."},
        {u"12345678", 74, u"1234..."},
        {u"12345678", 34, u"..."},
        {u"12345678", 33, u"12345678"},  // not even the dots
        {u"12345678", 3, u"12345678"},   // a limit below nothing is none
        {u"12345678", -50, u"12345678"},
        {u"", 4, u""},
        {std::u16string(254, u'x'), 2543, std::u16string(250, u'x') + u"..."},
        {std::u16string(300, u'x'), 2903, std::u16string(251, u'x') + u"..."},
    };
    RecordingDC dc;
    for (auto [text, width, fitted] : cases) {
        FitText(dc, text, width);
        EXPECT_EQ(text, fitted) << width;
    }
}

TEST(TemplateTest, ControlsLieInTheirWindowApartFromEachOther) {
    std::set<int> dialogs;
    for (const DialogTemplate* dialog : {&kSearchTemplate, &kTargetTemplate, &kPickerTemplate}) {
        EXPECT_TRUE(dialogs.insert(dialog->id).second) << "each has a layout of its own";
        std::set<int> ids;
        for (const ControlTemplate& a : dialog->controls) {
            EXPECT_TRUE(ids.insert(a.id).second) << a.id;
            EXPECT_GE(a.x, 7);
            EXPECT_LE(a.x + a.cx, dialog->cx - 7);
            EXPECT_LE(a.y + a.cy, dialog->cy - 7);
            EXPECT_FALSE(a.caption.empty()) << "assistive tools have no name for " << a.id;
            for (const ControlTemplate& b : dialog->controls) {
                EXPECT_TRUE(&a == &b || a.x + a.cx <= b.x || b.x + b.cx <= a.x ||
                            a.y + a.cy <= b.y || b.y + b.cy <= a.y)
                    << a.id << " over " << b.id;
            }
        }
    }
}

TEST(UnitBitmapTest, OnlyItsSurroundingsAreTransparent) {
    CImageList images;
    images.Create(kUnitBitmap, kUnitImageWidth, kUnitBitmapMask);
    const ImageStrip& strip = images.GetStrip();
    ASSERT_EQ(strip.pixels.size(), 16U * 16U);
    EXPECT_EQ(strip.count, 1);
    EXPECT_EQ(strip.pixels[0], 0U);
    EXPECT_EQ(strip.pixels[16 * 8 + 5], 0xFFFFFF00U) << "yellow";
    EXPECT_EQ(strip.pixels[16 * 4 + 3], 0xFF00FFFFU) << "cyan";
}

}  // namespace
}  // namespace brenholt
