// A terminal whose picture is drawn over and over.
#pragma once

#include <functional>
#include <string>

#include "common/console.h"

namespace vxttools {

/// Takes the terminal's second screen and hides the cursor; gives both back when it goes, when a second request to end
/// takes the process away, and while the shell stops the process.
class CLiveScreen {
public:
    /// For a stdout that obeys control sequences.
    CLiveScreen();
    CLiveScreen(const CLiveScreen&) = delete;
    ~CLiveScreen();

    /// The lines of text for a number of columns; none is to be longer.
    using CPicture = std::function<std::string(size_t uColumns)>;
    /// Draws what there is to see, in a single write. Lines that find no room are counted in the last one.
    void Draw(const CPicture& rPicture);
    /// Draws it again when the terminal's size has changed since, or the picture is gone.
    void Follow(const CPicture& rPicture);

private:
    CTerminalSize m_Size{};
};

}  // namespace vxttools
