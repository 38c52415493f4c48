#pragma once

// PDFs may name fonts instead of carrying them, and the libraries that draw them open those by their paths when they
// are needed: behind a wall, never. So the files that are opened for reading before seal() stay open, and afterwards
// whoever opens one again gets that. A font that nobody opened before is answered with one that was.
namespace ostrel::pictures::openedBefore {

void seal();

}   // namespace ostrel::pictures::openedBefore
