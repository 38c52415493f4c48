#include "render/loop/Log.h"

#include <glib.h>

namespace ostrel::engineLog {

void useStandardError() {
    static const bool once = (g_log_writer_default_set_use_stderr(TRUE), true);   // a second engine has threads
    static_cast<void>(once);
}

void note(const std::string& line) { g_log_structured("ostrel", G_LOG_LEVEL_INFO, "MESSAGE", "%s", line.c_str()); }

}   // namespace ostrel::engineLog
