#pragma once

class PathList;

// What a start of the program does about terminals that run already.
enum class StartKind {
    Instance,      // run as an instance of its own
    ForwardedAll,  // every running terminal took the files: end with 0
    ForwardedSome, // at least one refused them: end with 1
};

// Looks for terminal windows of any process. With files every one of them gets the whole list, and
// this returns when all have answered, however long that takes. Without, the first one found comes
// to the foreground.
StartKind ForwardFiles(const PathList& files);
