#pragma once

#include <QString>
#include <optional>

class DrawerController;
class ViewController;

// Swaps the child shown in `parent`'s container: `from` leaves its parent
// (when it has one), `to` becomes a child with its view made, and `title`,
// when given, becomes the parent's title. The container's view draws
// whichever child its controller names as visible.
void replaceChild(ViewController& parent, ViewController* from, ViewController* to,
                  const std::optional<QString>& title);

// The drawer above a screen: from the parent of its navigation stack when it
// sits in one, else from its own parent, upwards. Null when there is none.
DrawerController* findDrawerController(const ViewController& controller);
