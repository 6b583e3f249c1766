#pragma once

#include "RavikSrvExtApi.h"

/// The names of the server's API and of the helpers that the whole extension speaks of as its own.
namespace RavikSrv::Algorithm
{
}

namespace RecipeManagement
{

namespace Algorithm = RavikSrv::Algorithm;

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::IInternalHost;
using RavikSrv::IRavikSrvExtHost;
using RavikSrv::ResultPair;
using RavikSrv::String;
using RavikSrv::Value;
using RavikSrv::ValueType;

} // namespace RecipeManagement
