#pragma once

/// The extension API: the one header that an extension includes.
///
/// An HMI server loads an extension as a shared object and enters it through one exported function:
///
///     extern "C" int ext_interface(RavikSrv::IRavikSrvExtHost* host,
///                                  RavikSrv::IRavikSrvExt** extension, double* version);
///
/// The function hands back a heap-allocated extension object, which the server owns from then on and destroys through
/// its virtual destructor, and the interface version that the extension was written for. It returns 0.
///
/// Objects are shared across shared objects, so all parties are built with the same compiler and standard library.
/// Nothing in this API throws across the boundary between server and extension: hosts and extensions answer by value
/// (`ErrorValue`, `ResultPair`, the outcome of a `Command`). The classes of the value model themselves may throw
/// `std::bad_alloc`, `std::length_error` and (where `Value` says so) `std::out_of_range` inside the caller's own code.

#include "RavikSrvExt/Command.h"
#include "RavikSrvExt/CommandGroup.h"
#include "RavikSrvExt/Context.h"
#include "RavikSrvExt/ErrorValue.h"
#include "RavikSrvExt/Host.h"
#include "RavikSrvExt/Listener.h"
#include "RavikSrvExt/RequestWatcher.h"
#include "RavikSrvExt/ResultPair.h"
#include "RavikSrvExt/SharedText.h"
#include "RavikSrvExt/String.h"
#include "RavikSrvExt/Value.h"
