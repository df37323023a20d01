// The beacon listener: which panels are on the network.
#ifndef BRENHOLT_DISCOVERY_TV_PING_H
#define BRENHOLT_DISCOVERY_TV_PING_H

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "discovery/datagram.h"
#include "discovery/tavrin_unit.h"
#include "platform/pass_worker.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace brenholt {

// Listens on UDP port 10250 with a worker of its own and keeps one unit for each address heard.
//
// A beacon is a datagram of 17 to kMaxDatagram bytes, 8-bit text in the system code page:
//    offset  size  content
//         0    17  "Is there anybody ", case ignored
//        17     1  any byte; may be absent
//        18     -  descriptor text (CTavrinUnit::ParseDescriptor) up to a NUL or the end; may be absent
// A unit whose last beacon is more than 5000 ms old goes when the next beacon (from any panel) comes.
class CTvPing : public CAsyncSocket, public CPassWorker {
 public:
    CTvPing() = default;
    // Stops nothing: Stop must have run.
    ~CTvPing() override = default;

    // 1 when the worker runs (also when it ran already), 0 when no thread can be had. A taken port is not
    // reported: nothing is heard then.
    int Start(int nRetries, int nTimeoutMs, int bAsyncMode);

    // Returns when the worker has ended and the socket is closed. The list keeps its units.
    void Stop();

    // One pass of the worker: takes at most one datagram. Gives m_bStop.
    int Step();

    // The unit with that address or null, after the expired units were removed. Worker only; the
    // pointer is good on the worker alone.
    CTavrinUnit* FindUnit(std::u16string_view ip);

    // Writes at most `nMaxRows` rows of 512 bytes (BrenholtUnitRow) in the order of arrival; gives their
    // number. Null `rows` gives 0.
    int CopyUnits(int nMaxRows, uint8_t* rows);

    // Stores the unit with exactly that address in the selection: 1, or 0 when there is none.
    int SelectUnit(std::u16string_view ip);

    // Lets the user pick a unit in a dialog and stores it in the selection. Gives the number of units
    // when the dialog has ended, 0 without a worker. Blocks; the caller's thread runs the dialog.
    int ShowPanelList();

    // In a forked child: the worker is not there. Brings the object to the stopped state.
    void AbandonInChild();

    std::list<std::unique_ptr<CTavrinUnit>> m_listUnits GUARDED_BY(m_lock);  // units too
    CCriticalSection m_lock;
    int32_t m_nRetries = 1;
    // The selection: the host's thread only.
    std::u16string m_strSelIp;
    std::u16string m_strSelProject;
    int32_t m_nSelCpu = 0;
    int32_t m_nSelVersion = 0;
    int32_t m_nTimeoutMs = 1000;
    int32_t m_bAsyncMode = 1;

 private:
    static unsigned Worker(void* self);
    // Until the next datagram or the stop, and 10 ms at least.
    void Rest();
    void TakeBeacon(std::string_view datagram, const Endpoint& from);

    // A longer datagram fails to be received.
    std::array<uint8_t, kMaxDatagram> m_buffer{};
};

}  // namespace brenholt

#endif
