// Opens the module's dialogs with sample data on the Qt backend and saves what they show.
//   window_shots FOLDER SUFFIX [LOOK]        writes FOLDER/<name>SUFFIX.png
// LOOK: dark, rtl (a desktop of a language that is read from right to left), or a font as "Family,points".
// The user's own list of panels is neither read nor written, and nothing is sent.
#include <QApplication>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <cstdio>
#include <functional>

#include "dialogs/dlg_input_tg.h"
#include "dialogs/dlg_search_tg.h"
#include "dialogs/tv_list_dlg.h"
#include "discovery/adapter_info.h"
#include "link/tv_udp.h"

namespace {

using namespace brenholt;

using Act = std::function<void(QWidget& window)>;

struct Shooter {
    QString folder;
    QString suffix;
    bool failed = false;

    // Runs `dialog`, lets `act` act in it, and saves the window that is on top then.
    void operator()(const char* name, CDialog& dialog, const Act& act = {}) {
        QTimer timer;
        bool acted = !act;
        timer.callOnTimeout([&] {
            QWidget* window = QApplication::activeModalWidget();
            if (window == nullptr || !window->isActiveWindow()) {
                return;
            }
            if (!acted) {
                acted = true;
                // Not from here: it may open a window, and this timer must go on meanwhile.
                QTimer::singleShot(0, window, [&act, window] { act(*window); });
                return;
            }
            timer.stop();
            Save(*window, name);
            while (QWidget* top = QApplication::activeModalWidget()) {
                top->close();
            }
        });
        timer.start(20);
        dialog.DoModal();
    }

    void Save(QWidget& window, const char* name) {
        const QString path = QStringLiteral("%1/%2%3.png").arg(folder, name, suffix);
        if (!window.grab().save(path)) {
            std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(path));
            failed = true;
        }
    }
};

std::unique_ptr<CTavrinUnit> Unit(const char16_t* ip, const char16_t* project, int version = 123) {
    auto unit = std::make_unique<CTavrinUnit>(ip, kUserUnitPort);
    unit->m_strProject = project;
    unit->m_nVersion = version;
    unit->m_nCpu = kCpuArm;
    return unit;
}

void Hear(CTvPing& ping, std::unique_ptr<CTavrinUnit> unit) {
    const CSingleLock lock(ping.m_lock);
    ping.m_listUnits.push_back(std::move(unit));
}

Act Select(int row) {
    return [row](QWidget& window) {
        auto* list = window.findChild<QTreeWidget*>();
        list->setFocus();
        for (int step = 0; step <= row; ++step) {
            QTest::keyClick(list, Qt::Key_Down);
        }
    };
}

void PressOk(QWidget& window) {
    QTest::keyClick(&window, Qt::Key_Return);
}

void ShootSearch(Shooter& shoot, CTvUdp& link, const char* name, const Act& act = {}) {
    CDlgSearchTg dialog;
    dialog.m_pLink = &link;
    shoot(name, dialog, act);
}

void ShootAll(Shooter& shoot) {
    CTvUdp link;
    auto adapter = std::make_unique<CEAdapterInfo>();
    adapter->m_strIp = u"192.168.0.5";
    adapter->m_strMask = u"255.255.255.0";
    link.m_listAdapters.push_back(std::move(adapter));

    ShootSearch(shoot, link, "search-empty");
    ShootSearch(shoot, link, "search-nothing-chosen", PressOk);
    Hear(link.m_ping, Unit(u"192.168.0.20", u"Bakery_line_2"));
    Hear(link.m_ping, Unit(u"192.168.0.21", u"Boiler house", 204));
    link.m_listUserUnits.push_back(Unit(u"10.20.30.40", u"", 0));
    link.m_listUserUnits.back()->m_nCpu = kCpuUnknown;
    ShootSearch(shoot, link, "search", Select(1));
    ShootSearch(shoot, link, "search-question", [](QWidget& window) {
        Select(2)(window);
        PressOk(window);
    });
    CTvListDlg picker(&link.m_ping);
    shoot("picker", picker, Select(0));

    Hear(link.m_ping, Unit(u"172.16.4.9", u"Paint shop"));
    ShootSearch(shoot, link, "search-other-network");
    Hear(link.m_ping,
         Unit(u"192.168.0.22",
              u"A project with a name that is longer than any column that shows it & <b>more</b>"));
    for (int i = 0; i < 9; ++i) {
        const std::u16string ip =
            u"192.168.0.10" + std::u16string(1, static_cast<char16_t>(u'0' + i));
        Hear(link.m_ping, Unit(ip.c_str(), u"Packing"));
    }
    ShootSearch(shoot, link, "search-long", Select(2));
    CTvListDlg full(&link.m_ping);
    shoot("picker-long", full, Select(3));

    CDlgInputTg target;
    target.m_strIp = u"192.168.0.20";
    target.m_strNote = u"IP : 192.168.0.20\r\nProject : Bakery_line_2\r\nBren Version : 1.23";
    shoot("target", target);
}

void SetLook(const QString& look) {
    if (look == "dark") {
        QPalette dark(QColor(53, 53, 53), QColor(42, 42, 42));
        dark.setColor(QPalette::Base, QColor(35, 35, 35));
        dark.setColor(QPalette::Highlight, QColor(42, 130, 218));
        QApplication::setPalette(dark);
    } else if (look == "rtl") {
        QApplication::setLayoutDirection(Qt::RightToLeft);
    } else {
        QFont font;
        font.fromString(look);
        QApplication::setFont(font);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: window_shots FOLDER SUFFIX [LOOK]\n", stderr);
        return 2;
    }
    Shooter shoot{QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2])};
    const QApplication application(argc, argv);
    if (argc > 3) {
        SetLook(QString::fromLocal8Bit(argv[3]));
    }
    ShootAll(shoot);
    return shoot.failed ? 1 : 0;
}
