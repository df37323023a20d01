// What the simulated panel says to a request, without a wire between.
#ifndef BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_PANEL_ANSWERS_H
#define BRENHOLT_TESTS_SUPPORT_VIRTUAL_NETWORK_PANEL_ANSWERS_H

#include <string>
#include <vector>

#include "brenholt/brenholt.h"
#include "tools/panel/panel.h"

namespace brenholt {

inline std::vector<std::string> Answers(tavrin::Panel& panel, const std::string& request) {
    tavrin::Replies replies;
    panel.Receive({0x0A000001, BRENHOLT_PORT_COMMAND},
                  {reinterpret_cast<const uint8_t*>(request.data()), request.size()}, replies);
    std::vector<std::string> answers;
    for (const tavrin::Reply& reply : replies) {
        answers.emplace_back(reply.bytes.begin(), reply.bytes.end());
    }
    return answers;
}

}  // namespace brenholt

#endif
