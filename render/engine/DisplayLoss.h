#pragma once

#include <functional>

namespace ostrel::displayLoss {

// From now on the loss of the toolkit's X display calls the handler, once and on the main thread, where the toolkit
// would end the program on the spot. What does not need the display can then be brought to its end; the engine does
// need it. After gtk_init, on the main thread. Does nothing on other kinds of display.
void survive(std::function<void()> handler);

}   // namespace ostrel::displayLoss
