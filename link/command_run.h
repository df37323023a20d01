// The run of a command from its head to its end.
#ifndef BRENHOLT_LINK_COMMAND_RUN_H
#define BRENHOLT_LINK_COMMAND_RUN_H

#include "link/tv_udp.h"

namespace brenholt {

// Lives for the length of a command's run and ends the command on every way out, once: with the
// value given to End, or 0. Until then no posted command starts.
class CommandRun {
 public:
    explicit CommandRun(CTvUdp& link) : m_link(link) {
        m_link.m_bRunning = 1;
        link.m_account.BeginTransfer();
    }
    ~CommandRun() {
        m_link.EndCommand(m_result);
        m_link.m_bRunning = 0;
        m_link.WakeWorker();
    }
    CommandRun(const CommandRun&) = delete;
    CommandRun& operator=(const CommandRun&) = delete;

    int End(int result) { return m_result = result; }

 private:
    CTvUdp& m_link;
    int m_result = 0;
};

}  // namespace brenholt

#endif
