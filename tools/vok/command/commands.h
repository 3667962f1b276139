#pragma once

#include "command/options.h"

/// The commands, each in a file of its own: what it takes and what it does. The table of them is command_table.cpp.

namespace vok::tool {

class Arguments;

int RunInfo(const Options& options);
int RunList(const Options& options);
int RunRead(const Options& options);
/// @return kFailed also when no item holds the bytes
int RunFind(const Options& options);
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
int RunApply(const Options& options);
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

// What each command takes on its command line.

void TakeInfo(Arguments& arguments, Options& options);
void TakeList(Arguments& arguments, Options& options);
void TakeRead(Arguments& arguments, Options& options);
void TakeFind(Arguments& arguments, Options& options);
void TakeUnpack(Arguments& arguments, Options& options);
void TakeCheck(Arguments& arguments, Options& options);
void TakeRepair(Arguments& arguments, Options& options);
void TakeWrite(Arguments& arguments, Options& options);
void TakeDelete(Arguments& arguments, Options& options);
void TakeRename(Arguments& arguments, Options& options);
void TakeReorganise(Arguments& arguments, Options& options);
void TakePack(Arguments& arguments, Options& options);
void TakeApply(Arguments& arguments, Options& options);
void TakeNew(Arguments& arguments, Options& options);
void TakeSample(Arguments& arguments, Options& options);
void TakeDiff(Arguments& arguments, Options& options);
void TakeMap(Arguments& arguments, Options& options);
void TakeExplain(Arguments& arguments, Options& options);
void TakeHistory(Arguments& arguments, Options& options);
void TakeTorture(Arguments& arguments, Options& options);

}  // namespace vok::tool
