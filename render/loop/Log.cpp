#include "render/loop/Log.h"

#include <glib.h>

namespace ostrel::engineLog {

void note(const std::string& line) {
    // Standard output is for what our programs print.
    static const bool once = (g_log_writer_default_set_use_stderr(TRUE), true);
    static_cast<void>(once);
    g_log_structured("ostrel", G_LOG_LEVEL_INFO, "MESSAGE", "%s", line.c_str());
}

}   // namespace ostrel::engineLog
