// Texts and paths for the panel.
#ifndef BRENHOLT_TOOLS_HOST_PANEL_PATH_H
#define BRENHOLT_TOOLS_HOST_PANEL_PATH_H

#include <string>

namespace host {

// A text for the panel, as a command carries it. Throws Failure(Failed) when it is longer than the
// 255 bytes that a datagram has for it.
std::u16string PanelText(const std::string& bytes);

// A panel path with `\` as its separator and none at its end.
std::u16string CleanPanelPath(std::u16string path);

// The part of a clean path after its last separator.
std::u16string LastComponent(const std::u16string& path);

// A clean path without its last part; empty, or with the separator at its end.
std::u16string ParentFolder(const std::u16string& path);

// Both joined with one separator, which an empty folder gets too.
std::u16string JoinPanelPath(const std::u16string& folder, const std::u16string& name);

}  // namespace host

#endif
