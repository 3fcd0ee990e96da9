// linux_code_page.cpp - the name of the process's code page.
#include <langinfo.h>

#include "platform/platform.h"

namespace qxut::platform {

const char* code_page_name() noexcept { return nl_langinfo(CODESET); }

}  // namespace qxut::platform
