// Who owns a window, and where it opens.
#ifndef BRENHOLT_PLATFORM_QT_PLACEMENT_H
#define BRENHOLT_PLATFORM_QT_PLACEMENT_H

class QWidget;

namespace brenholt {

// Gives a modal window that is about to show the application's active window as its owner, that
// one's title and icon where it has none itself, and centres it there. It does not become a child:
// the owner may be the host's, and would take its children along when it goes.
void PlaceOverOwner(QWidget& window);

}  // namespace brenholt

#endif
