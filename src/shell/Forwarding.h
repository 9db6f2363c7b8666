#pragma once

class PathList;

// What a start of the program does when terminals run already.
enum class StartKind {
    Instance,      // run as an instance of its own
    ForwardedAll,  // every running terminal took the files: end with 0
    ForwardedSome, // at least one refused them: end with 1
};

// Looks for terminal windows of any process. With files, sends every one of them the whole list and
// returns when all have replied, however long that takes. Without files, brings the first one to
// the foreground.
StartKind ForwardFiles(const PathList& files);
