#pragma once

#include <memory>

namespace ostrel {

// Makes the windows light or dark as the desktop's user wishes, where the desktop tells (the settings portal), and goes
// on doing so while this lives.
class ColorScheme {
public:
    ColorScheme();
    ColorScheme(const ColorScheme&) = delete;
    ColorScheme& operator=(const ColorScheme&) = delete;
    ~ColorScheme();

private:
    struct Connection;
    std::shared_ptr<Connection> connection_;
};

}   // namespace ostrel
