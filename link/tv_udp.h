// The link: one object that is the socket of the commands, the record of the target, the one-deep
// command slot and the owner of the worker, the beacon listener and the lists. Its sections come
// in the order of the files that define them.
#ifndef BRENHOLT_LINK_TV_UDP_H
#define BRENHOLT_LINK_TV_UDP_H

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "brenholt/brenholt.h"
#include "discovery/adapter_info.h"
#include "discovery/tavrin_unit.h"
#include "discovery/tv_ping.h"
#include "link/exchange.h"
#include "link/reply.h"
#include "link/reply_account.h"
#include "link/target_address.h"
#include "platform/pass_worker.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace brenholt {

class CFolder;
struct CFileStatus;
struct Listing;
struct WalkPlace;

inline constexpr uint16_t kPanelPort = BRENHOLT_PORT_PANEL;
inline constexpr uint16_t kCommandPort = BRENHOLT_PORT_COMMAND;
inline constexpr size_t kTransferBlock = 0x1400000;  // bytes of a file in memory at a time

// The contents of the command slot: which command, with what.
struct CommandSlot {
    std::u16string m_strCmd;   // token, upper case; empty when idle
    std::u16string m_strArg1;  // the only text that goes on the wire
    std::u16string m_strArg2;
    int32_t m_nArg = 0;
    void* m_pArg1 = nullptr;
    void* m_pArg2 = nullptr;
    void* m_pArg3 = nullptr;
};

class CTvUdp : public CAsyncSocket, public CPassWorker {
 public:
    CTvUdp() = default;
    // Stops nothing: Stop must have run.
    ~CTvUdp() override = default;

    // ---- link/lifecycle.cpp ------------------------------------------------------------------

    // Opens the socket, starts the worker and the listener. The settings are stored in any case. 1
    // when both run; 0 when the link ran already or no thread can be had.
    int Start(int retries, int timeoutMs, int asyncMode);
    // Stops the listener and the running command, waits for the worker's end and, for two timeouts
    // at most, for replies that are on their way, closes the socket. The module
    // stays pinned (PinModule).
    void Stop();
    // In a forked child, where the threads are not: brings the object to the stopped state.
    void AbandonInChild();

    // ---- link/command_slot.cpp ---------------------------------------------------------------

    // Fills the slot and raises m_bBusy; null texts count as empty, and the texts may be the slot's
    // own.
    void BeginCommand(std::u16string_view token, int posted, const char16_t* arg1,
                      const char16_t* arg2, int nArg, void* p1, void* p2, void* p3);
    // Empties the slot, publishes the result, lets m_bBusy fall last. Leaves a command alone that
    // was posted meanwhile.
    void EndCommand(int result);
    // The worker's body: passes until m_bStop, also for what was posted before it.
    static unsigned ServiceThread(void* link);
    // One pass: runs the posted command, if there is one and no other runs. Gives m_bStop.
    int ServiceOnce();
    // Has the worker look for a posted command. Any thread may call it.
    void WakeWorker();

    // ---- link/exchange.cpp -------------------------------------------------------------------

    // Writes "Cmd=", token, first argument and a NUL into m_txBuf; gives their length in bytes, or
    // 0 when token or argument exceed 255 bytes in the system code page.
    int BuildHeader();
    // Sends the first `length` bytes of m_txBuf to the target; kHeaderOnly: builds the header and
    // sends just that. Gives the number of bytes, 0 when nothing could be sent (header or address
    // text too long); a send that fails on the network is not noticed.
    int SendPacket(int length);
    // Waits for one reply from the target until `untilUs`, a time of GetMicroseconds. 1 with the
    // reply, 0 when the time has come, on cancel, on a datagram from another port of the target,
    // and on an empty one from its port.
    int RecvReply(Reply& reply, uint64_t untilUs);
    // The loop of attempts that every command shares; see link/exchange.h. `reply` is what settled
    // it, good until the next receive.
    Outcome Exchange(int length, const ExchangeRules& rules, const Judge& judge, Reply& reply);
    // At the end of a transfer: whether its replies were in step with its requests, as far as what
    // comes now can show.
    bool EndsInStep();
    // Takes what is owed, as long as it may be on its way: the next socket on the port, another
    // process's perhaps, would receive it.
    void AwaitOwed();
    // Asks the running command to end; without one, nothing comes of it. Any thread may call it.
    void Cancel();
    // Whether the running command must end: cancelled, or the link stops since the command began.
    bool Interrupted() const { return m_bCancel != 0 || Stopping(); }
    bool Stopping() const { return m_bStop != 0 && m_bStopAtBegin == 0; }

    // ---- commands/ ---------------------------------------------------------------------------
    // Each gives 0 without a target; 1 (CmdDR: 0) when posted; else its outcome, 0 for failure.

    int CmdTM(int async);
    int CmdEX(const char16_t* arg, int async);
    int CmdCL(const char16_t* arg, int async);
    int CmdRM(const char16_t* arg, int async);
    int CmdMD(const char16_t* arg, int async);
    int CmdFile(const char16_t* arg, int bFF, int async);

    // Asks for three words; each pointer may be null.
    int CmdVS(uint16_t* a, uint16_t* b, uint16_t* c, int async);
    // Asks any address who it is: two attempts of 1000 ms. Outputs are untouched on failure (`cpu`:
    // 0 ARM, 1 X86; `version` in hundredths). The target and the settings are put back on every way
    // out.
    int CmdIP(const char16_t* address, int async, std::u16string& project, uint16_t* version,
              uint16_t* cpu);

    // Lists a panel folder into `entries`; gives the number of entries.
    int CmdDR(const char16_t* folder, int maxEntries, PanelDirEntry* entries, int async);
    // Sends the host file `local`.
    int CmdDL(const char16_t* local, const char16_t* remote, int async);
    // Fetches the panel file `remote` into the folder `local`.
    int CmdUP(const char16_t* remote, const char16_t* local, int async);
    // Sends `length` bytes of memory.
    int CmdML(const uint8_t* block, int length, const char16_t* text, int async);
    // Copies a panel folder into a host folder.
    int CmdGF(const char16_t* remote, const char16_t* local, int async);

    // ---- discovery/ --------------------------------------------------------------------------

    // -1 for null, 0 when the address is in the list already, else the number of entries. Saves the
    // file.
    int AddUserUnit(const CTavrinUnit* unit);
    // 1 when an entry was removed, else 0. Saves the file.
    int RemoveUserUnit(const char16_t* ip);
    // Replaces the list by the file's lines; 1 when it was read to its end.
    int LoadUserUnits();
    // Writes the list; an empty one leaves the file as it is. 1 when the file was written.
    int SaveUserUnits();

    // Replaces the snapshot of the host's adapters; gives their number.
    int LoadAdapters();
    // Dotted text as a number, first field highest; 0xFFFFFFFF for text that is no address.
    uint32_t IpToNumber(const char16_t* text) const;
    // Whether the address lies on the network of an adapter in the snapshot.
    int IsSameNetwork(const char16_t* ip) const;

    // Rows of the discovered panels, see CTvPing::CopyUnits; gives their number.
    int GetUnits(int nMaxRows, uint8_t* rows);
    // Makes a discovered panel the target: 1, or 0 when none has that address. A running command is
    // cancelled and gets 1000 ms.
    int UseUnit(const char16_t* ip);
    // Lets the user choose the target in a dialog: 1 when one was chosen. Blocks; 0 at once while
    // another call is under way.
    int SelectTarget(int reserved);

    // ---- data --------------------------------------------------------------------------------

    SharedWord m_nPaceMs{0};
    CTargetAddress m_strTargetIp{u"192.168.0.1"};
    std::u16string m_strProject GUARDED_BY(m_lock);
    SharedWord m_nTargetCpu{0};
    SharedWord m_nTargetVersion{0};
    CCriticalSection m_lock;  // the slot, and the adoption of a target; never held across a wait
    CommandSlot m_slot GUARDED_BY(m_lock);
    SharedWord m_nResult{0};
    SharedWord m_bPosted{0};
    SharedWord m_nRetries{3};
    SharedWord m_nTimeoutMs{1000};
    SharedWord m_bAsyncMode{1};
    SharedWord m_bBusy{0};
    SharedWord m_bCancel{0};
    SharedWord m_bRunning{0};      // a thread runs a command
    SharedWord m_bSelecting{0};    // SelectTarget is under way
    SharedWord m_bStopAtBegin{1};  // m_bStop when the running command began
    ReplyAccount m_account;        // of the thread that runs a command
    // Destroyed in the order user list, adapters, listener.
    CTvPing m_ping;
    std::list<std::unique_ptr<CEAdapterInfo>> m_listAdapters;
    std::list<std::unique_ptr<CTavrinUnit>> m_listUserUnits;

 private:
    // The head of every command but CmdIP. Gives the command's early result, 0 without a target or
    // 1 when posted; nothing when the caller is to run it.
    std::optional<int> Enter(std::u16string_view token, int async, const char16_t* arg1,
                             const char16_t* arg2 = nullptr, int nArg = 0, void* p1 = nullptr,
                             void* p2 = nullptr, void* p3 = nullptr);
    void RaisePace(PaceRule rule);
    uint64_t TimeoutUs() const {
        return uint64_t{static_cast<uint32_t>(m_nTimeoutMs.load())} * 1000;
    }
    // One attempt: a send, more where an answer is in doubt, and the verdict on what came; nothing
    // when no reply did.
    std::optional<Verdict> Attempt(int length, const Judge& judge, Reply& reply);
    // The steps of the composites: the slot holds the command, and the caller ends it.
    Listing ListFolder(int maxEntries, PanelDirEntry* entries);
    Listing ListOnce(int maxEntries, PanelDirEntry* entries);
    void SetTokenDigit(char16_t (*next)(char16_t));
    bool FetchFile(std::u16string_view remote, const CFolder& folder);
    std::optional<bool> FetchOnce(std::u16string_view remote, const CFolder& folder);
    bool SendFile(const CFileStatus& file);
    // Sends `data` in datagrams, one after the other, each after the first `prefix` bytes of m_txBuf.
    // Whether all were acknowledged.
    bool SendData(size_t prefix, std::span<const uint8_t> data, const ExchangeRules& rules,
                  const Judge& judge);
    bool WalkFolder(const std::u16string& remote, const std::u16string& local,
                    const WalkPlace& place);
    // Adds a copy unless the address is in the list already: the number of entries, or 0.
    int KeepUserUnit(const CTavrinUnit& unit);
    int RunText(std::u16string_view token, const char16_t* arg, int async, bool needsAck);
    void Adopt(std::u16string_view ip, std::u16string_view project, int32_t cpu, int32_t version);

    CEvent m_work;  // of the worker: there may be something to do

    // The exchange's own; one exchange at a time.
    std::array<uint8_t, kMaxDatagram> m_txBuf{};
    std::array<uint8_t, kMaxDatagram + 1> m_rxBuf{};  // and the NUL after the longest datagram
};

// Non-zero while some thread waits in RecvReply: no posted command starts meanwhile.
extern SharedWord g_bInRecv;

// The one link of the module.
extern CTvUdp& g_link;

}  // namespace brenholt

#endif
