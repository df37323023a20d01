// The exported table: every entry point forwards to the link, reads a word of it, or asks for a
// cancel. Nothing that is thrown inside leaves here: it is a failure, 0.
#include "brenholt/brenholt.h"
#include "link/tv_udp.h"
#include "platform/module_pin.h"

namespace brenholt {
namespace {

template <class Body>
int Guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return 0;
    }
}

int Mode() {
    return g_link.m_bAsyncMode;
}

int32_t FnStart(int32_t retries, int32_t timeoutMs, int32_t asyncMode) {
    return Guarded([=] { return g_link.Start(retries, timeoutMs, asyncMode); });
}
int32_t FnSelectTarget(int32_t reserved) {
    return Guarded([=] { return g_link.SelectTarget(reserved); });
}
int32_t FnCmdVS(uint16_t* a, uint16_t* b, uint16_t* c) {
    return Guarded([=] { return g_link.CmdVS(a, b, c, Mode()); });
}
int32_t FnCmdML(const uint8_t* block, int32_t length, const char16_t* text) {
    return Guarded([=] { return g_link.CmdML(block, length, text, Mode()); });
}
int32_t FnCmdMD(const char16_t* text) {
    return Guarded([=] { return g_link.CmdMD(text, Mode()); });
}
int32_t FnCmdFF(const char16_t* text) {
    return Guarded([=] { return g_link.CmdFile(text, 1, Mode()); });
}
int32_t FnCmdFD(const char16_t* text) {
    return Guarded([=] { return g_link.CmdFile(text, 0, Mode()); });
}
int32_t FnCmdEX(const char16_t* text) {
    return Guarded([=] { return g_link.CmdEX(text, Mode()); });
}
int32_t FnCmdTM() {
    return Guarded([] { return g_link.CmdTM(Mode()); });
}
int32_t FnCmdGF(const char16_t* remoteFolder, const char16_t* localFolder) {
    return Guarded([=] { return g_link.CmdGF(remoteFolder, localFolder, Mode()); });
}
int32_t FnCmdCL(const char16_t* text) {
    return Guarded([=] { return g_link.CmdCL(text, Mode()); });
}
int32_t FnCmdDR(const char16_t* folder, int32_t maxEntries, PanelDirEntry* entries) {
    return Guarded([=] { return g_link.CmdDR(folder, maxEntries, entries, Mode()); });
}
int32_t FnCmdDL(const char16_t* localPath, const char16_t* remoteText) {
    return Guarded([=] { return g_link.CmdDL(localPath, remoteText, Mode()); });
}
int32_t FnCmdRM(const char16_t* text) {
    return Guarded([=] { return g_link.CmdRM(text, Mode()); });
}
int32_t FnCmdUP(const char16_t* remotePath, const char16_t* localFolder) {
    return Guarded([=] { return g_link.CmdUP(remotePath, localFolder, Mode()); });
}
// The module's own reference may be the last, in a host that has unloaded it already.
void FnStop() {
    const int stopped = Guarded([] {
        g_link.Stop();
        return 1;
    });
    if (stopped != 0) {
        UnpinModule();
    }
}
int32_t FnIsBusy() {
    return g_link.m_bBusy;
}
void FnCancel() {
    g_link.Cancel();
}
int32_t FnGetResult() {
    return g_link.m_nResult;
}
int32_t FnGetUnits(int32_t nMaxRows, BrenholtUnitRow* rows) {
    return Guarded([=] { return g_link.GetUnits(nMaxRows, reinterpret_cast<uint8_t*>(rows)); });
}
int32_t FnUseUnit(const char16_t* address) {
    return Guarded([=] { return g_link.UseUnit(address); });
}
int32_t FnGetTargetCpu() {
    return g_link.m_nTargetCpu;
}
int32_t FnGetTargetVersion() {
    return g_link.m_nTargetVersion;
}
const char16_t* FnGetTargetIp() {
    return g_link.m_strTargetIp.c_str();
}

}  // namespace
}  // namespace brenholt

extern "C" {

extern const BrenholtTable FuncTable;

const BrenholtTable FuncTable = {
    brenholt::FnStart,
    brenholt::FnSelectTarget,
    brenholt::FnCmdVS,
    brenholt::FnCmdML,
    brenholt::FnCmdMD,
    brenholt::FnCmdFF,
    brenholt::FnCmdFD,
    brenholt::FnCmdEX,
    brenholt::FnCmdTM,
    brenholt::FnCmdGF,
    brenholt::FnCmdCL,
    brenholt::FnCmdDR,
    brenholt::FnCmdDL,
    brenholt::FnCmdRM,
    brenholt::FnCmdUP,
    brenholt::FnStop,
    brenholt::FnIsBusy,
    brenholt::FnCancel,
    brenholt::FnGetResult,
    brenholt::FnGetUnits,
    brenholt::FnUseUnit,
    brenholt::FnGetTargetCpu,
    brenholt::FnGetTargetVersion,
    brenholt::FnGetTargetIp,
    {},
};

}  // extern "C"
