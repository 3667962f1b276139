#include "command/command_table.h"

#include "command/commands.h"

namespace vok::tool {

namespace {

constexpr const char* kLook = "Look at an image";
constexpr const char* kApart = "Take an image apart, build one";
constexpr const char* kChange = "Change an image";
constexpr const char* kMend = "Check and mend an image";

constexpr ImageUse kOne = ImageUse::kOne;
constexpr ImageUse kNone = ImageUse::kNone;

constexpr CommandEntry kCommands[] = {
    {"info", RunInfo, TakeInfo, kOne, kLook, "show the PSDT, its sections and their space"},
    {"list", RunList, TakeList, kOne, kLook, "list the items"},
    {"read", RunRead, TakeRead, kOne, kLook, "show the bytes of an item, or of all of a type"},
    {"find", RunFind, TakeFind, kOne, kLook, "find the items that hold some text or bytes"},
    {"diff", RunDiff, TakeDiff, ImageUse::kCompared, kLook, "tell in which items two images differ"},
    {"map", RunMap, TakeMap, kOne, kLook, "show the blocks as a picture"},
    {"explain", RunExplain, TakeExplain, kOne, kLook, "tell what lies at a flash address"},
    {"history", RunHistory, TakeHistory, kOne, kLook, "list the copies of an item that still lie in flash"},

    {"unpack", RunUnpack, TakeUnpack, kOne, kApart, "write every item to a file of its own, and a manifest"},
    {"apply", RunApply, TakeApply, kOne, kApart, "bring an image to what a folder from unpack holds now"},
    {"pack", RunPack, TakePack, kNone, kApart, "build an image from what unpack wrote"},
    {"new", RunNew, TakeNew, kNone, kApart, "make an empty image"},
    {"sample", RunSample, TakeSample, kNone, kApart, "write a small image to try things out on"},

    {"write", RunWrite, TakeWrite, kOne, kChange, "write an item, new or in place of the one there is"},
    {"rename", RunRename, TakeRename, kOne, kChange, "give an item another type and ID"},
    {"delete", RunDelete, TakeDelete, kOne, kChange, "delete an item, or a range of them"},
    {"reorganise", RunReorganise, TakeReorganise, kOne, kChange, "regain the space of dead items", "reorganize"},

    {"check", RunCheck, TakeCheck, kOne, kMend, "tell what is unfinished; changes nothing"},
    {"repair", RunRepair, TakeRepair, kOne, kMend, "finish or undo what is unfinished"},
    {"torture", RunTorture, TakeTorture, kOne, kMend, "cut the power in a copy of a section, everywhere"},
};

}  // namespace

std::span<const CommandEntry> CommandTable() { return kCommands; }

}  // namespace vok::tool
