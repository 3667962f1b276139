#pragma once

#include "command/options.h"

/// The commands, each in a file of its own.

namespace vok::tool {

int RunInfo(const Options& options);
int RunList(const Options& options);
int RunRead(const Options& options);
int RunUnpack(const Options& options);
/// @return kFailed also when the image is not clean
int RunCheck(const Options& options);
int RunRepair(const Options& options);
/// Of "repair --rebuild".
int RunRebuild(const Options& options);
int RunWrite(const Options& options);
int RunDelete(const Options& options);
int RunRename(const Options& options);
int RunReorganise(const Options& options);
int RunPack(const Options& options);
/// Tells all that is wrong with a description, in one line each.
int RunNew(const Options& options);
int RunSample(const Options& options);
/// @return kDone when the images hold the same items, kFailed when they differ, kTrouble when one cannot be read
int RunDiff(const Options& options);

/// The commands that show the image as it lies in flash, before any repair.
int RunMap(const Options& options);
/// @return kFailed when the address lies outside the image
int RunExplain(const Options& options);
/// @return kFailed when no copy of the item lies in flash
int RunHistory(const Options& options);

/// Cuts the power on a copy of a section. @return kFailed when a case comes out as none may
int RunTorture(const Options& options);

}  // namespace vok::tool
