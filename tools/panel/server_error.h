// The error of panels that cannot be started.
#ifndef BRENHOLT_TOOLS_PANEL_SERVER_ERROR_H
#define BRENHOLT_TOOLS_PANEL_SERVER_ERROR_H

#include <stdexcept>

namespace tavrin {

// The message names the address and the port, or the folder.
class ServerError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

}  // namespace tavrin

#endif
