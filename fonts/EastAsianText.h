#pragma once

#include "fonts/FontCutter.h"

#include <array>
#include <vector>

namespace ostrel::fonts {

enum class Writing { japanese, simplifiedChinese, traditionalChinese, korean };
inline constexpr std::array writings{Writing::japanese, Writing::simplifiedChinese, Writing::traditionalChinese,
                                     Writing::korean};

// The characters of such text in portions of a few thousand. First for each kind what nearly all of it is made of,
// which is Latin letters, kana, the symbols of its national character set (JIS X 0208, GB 2312, Big5, KS X 1001) and
// the common part of its ideographs or syllables. Then the ideographs that the set puts second, for names and
// literature, unless modern text does without them. A character is in one portion only, the first that it may be in.
std::vector<Characters> portionsOf(const std::vector<Writing>& kinds);

}   // namespace ostrel::fonts
