#pragma once

// Texts between UTF-8, in which the command line and JSON are, and the system's code page, in which
// the link's are.

#include <string>
#include <string_view>

std::wstring WideOfUtf8(std::string_view text);
std::string Utf8Of(std::wstring_view text);

// A character that the code page lacks becomes the system's substitute.
std::string AnsiOfUtf8(std::string_view text);
std::string Utf8OfAnsi(std::string_view text);

// A path for the link; false when it cannot be spelled (see base/FileNames.h). `exact`: also the
// file's own name must be.
bool PathForLink(const std::string& utf8, bool exact, std::string& path);

// What a Win32 error number means, as a part of a sentence.
std::string SystemWords(unsigned long error);
