#pragma once

// What ZoLink says: the device's text, or JSON, on standard output; progress and errors on
// standard error. Texts are UTF-8, except the device's own.

#include "link/ComPort.h"

#include <cstdint>
#include <string>
#include <string_view>

struct Result {
    std::string subject; // the file, or the line
    const char* kind = "file";
    std::string status;
    std::uint32_t bytes = 0;
    std::uint32_t blocks = 0;
    std::uint32_t errors = 0;
};

class Report {
public:
    Report(bool json, bool quiet, bool stamps);

    // The device's bytes, as they come. A character that is not complete waits for its rest.
    void Text(std::string_view bytes);

    // How far a file is; a `total` of 0 is not known.
    void Progress(const std::string& file, const TransferInfo& info, std::uint64_t total);

    // The result of a file or a line.
    void Outcome(const Result& result);

    void Port(const std::string& name, const std::string& description, bool isFree);
    void Note(const std::string& text); // nothing when quiet
    void Error(const std::string& text);

private:
    void EndBar();
    void ShowBar(const std::string& file, const TransferInfo& info, std::uint64_t total);
    void PutText(std::string_view whole);

    const bool m_Json;
    const bool m_Quiet;
    const bool m_Stamps;
    const bool m_Terminal; // somebody looks at standard error
    bool m_BarShown = false;
    bool m_LineBegins = true;
    std::string m_Split; // the beginning of a character
    std::uint64_t m_ClockStart = 0;
    std::uint32_t m_ClockDone = 0;
    std::string m_ClockFile;
};
