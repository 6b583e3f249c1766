#pragma once

#include "RavikSrvExtApi.h"

/// The types of the extension interface, by their names alone in all tests.
namespace Ravik::Test
{

using RavikSrv::Command;
using RavikSrv::CommandGroup;
using RavikSrv::CommandOption;
using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::IInternalHost;
using RavikSrv::IRavikSrvConfigListener;
using RavikSrv::IRavikSrvExportListener;
using RavikSrv::IRavikSrvExt;
using RavikSrv::IRavikSrvExtHost;
using RavikSrv::IRavikSrvListener;
using RavikSrv::IRavikSrvRequestListener;
using RavikSrv::ResultPair;
using RavikSrv::String;
using RavikSrv::Timespan;
using RavikSrv::Timestamp;
using RavikSrv::Value;
using RavikSrv::ValueType;

} // namespace Ravik::Test
