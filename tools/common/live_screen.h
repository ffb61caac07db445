// A terminal whose picture is drawn over and over.
#pragma once

#include <functional>
#include <string>

#include "common/console.h"

namespace vxttools {

/// Takes the terminal's second screen and hides the cursor; gives both back when it goes, and when a second request to
/// end takes the process away.
class CLiveScreen {
public:
    /// Whether stdout is a terminal that can move its cursor.
    static bool IsPossible();

    CLiveScreen();
    CLiveScreen(const CLiveScreen&) = delete;
    ~CLiveScreen();

    /// The lines of text for a number of columns; none is to be longer.
    using CPicture = std::function<std::string(size_t uColumns)>;
    /// Draws what there is to see, in a single write. Lines that find no room are counted in the last one.
    void Draw(const CPicture& rPicture);
    /// Draws it again when the terminal's size has changed since.
    void Follow(const CPicture& rPicture);

private:
    CTerminalSize m_Size{};
};

}  // namespace vxttools
