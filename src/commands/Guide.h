#pragma once

// Opens the guide that comes with the program, in the user's browser. Returns at once; does nothing
// when the file is missing.
void OpenGuide();
