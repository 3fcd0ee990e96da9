// contexts.hpp - a basic-contexts record as an object.
//
// The process default record lives in one of these; a client may construct more. The record
// allocates with utMalloc and kin, and its throw function ends the process: the error text goes
// to standard error, then Quorvanix::System::fatal for a fault, panic with status 1 otherwise.
#ifndef QXUT_UTIL_CONTEXTS_HPP
#define QXUT_UTIL_CONTEXTS_HPP

#include <qxut/util/contexts.h>

namespace Quorvanix::System {

class BasicContextsHolder {
  public:
    // Initialises the record. Ends the process with panicsf(3, "%s", error text) on failure.
    QXUT_API BasicContextsHolder();
    // Clears the record. It must not be the current one any more, and nothing may use it.
    QXUT_API ~BasicContextsHolder();
    BasicContextsHolder(const BasicContextsHolder&) = delete;
    BasicContextsHolder& operator=(const BasicContextsHolder&) = delete;

    // The record; null while the constructor or the destructor runs.
    utBasicContexts* get() const { return pointer_; }

  private:
    utBasicContexts* pointer_ = nullptr;
    utBasicContexts record_;
};

}  // namespace Quorvanix::System

#endif
