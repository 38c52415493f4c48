#pragma once

namespace ostrel::textScale {

// As many pixels at the text size that the user chose, which may change while windows are open; never fewer.
int scaled(int pixels);

}   // namespace ostrel::textScale
