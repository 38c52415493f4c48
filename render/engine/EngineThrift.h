#pragma once

// Keeps the processes of a program without windows small: the engine's several processes would each hold what only a
// window needs.
namespace ostrel::engineThrift {

// Before the toolkit starts and before the first process is started.
void settle();

}   // namespace ostrel::engineThrift
