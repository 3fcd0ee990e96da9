// host.h - the console as a host of the library: its own record of contexts.
//
// The record works on the console's counting allocator, prints uncaught errors to standard error
// and warnings to the console, and has a throw function of its own. While a Host is open it is
// the current record of the process; the one before comes back when it closes.
#ifndef CONSOLE_HOST_H
#define CONSOLE_HOST_H

#include <qxut/util/contexts.h>

namespace console {

class Host {
  public:
    Host() = default;
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Initialises and installs the record, with the console's messages in it. False: it did not
    // work out, the reason is on standard error and nothing is allocated.
    bool open();
    // Puts the record of before back and gives everything back to the allocator.
    void close();

  private:
    utBasicContexts contexts_{};
    utBasicContexts* previous_ = nullptr;
};

}  // namespace console

#endif
