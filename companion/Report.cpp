#include "companion/Report.h"

#include "base/Text.h"
#include "companion/Texts.h"
#include "link/codec/CodePage.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace {

using Json = nlohmann::ordered_json;

constexpr int BarWidth = 24;

// One object a line. What is no UTF-8 is replaced, so that every line can be read.
void PutJson(const Json& object) {
    const std::string line = object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

bool IsTerminal(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

std::string LocalTime() {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    char text[32];
    FormatText(text, "%04u-%02u-%02u %02u:%02u:%02u.%03u", now.wYear, now.wMonth, now.wDay,
               now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

} // namespace

Report::Report(bool json, bool quiet, bool stamps)
    : m_Json(json), m_Quiet(quiet), m_Stamps(stamps), m_Terminal(IsTerminal(STD_ERROR_HANDLE)) {}

void Report::Text(std::string_view bytes) {
    m_Split += bytes;
    const std::size_t whole = WholeCharacters(m_Split.data(), m_Split.size());
    if (whole > 0)
        PutText(std::string_view(m_Split).substr(0, whole));
    m_Split.erase(0, whole);
}

void Report::PutText(std::string_view whole) {
    EndBar();
    if (m_Json) {
        Json event = {{"event", "text"}};
        if (m_Stamps)
            event["time"] = LocalTime();
        event["text"] = Utf8OfAnsi(whole);
        PutJson(event);
        return;
    }
    for (const char byte : whole) {
        if (m_Stamps && m_LineBegins)
            std::fputs((LocalTime() + " ").c_str(), stdout);
        m_LineBegins = byte == '\n';
        std::fputc(byte, stdout);
    }
    std::fflush(stdout);
}

void Report::Progress(const std::string& file, const TransferInfo& info, std::uint64_t total) {
    if (m_Quiet)
        return;
    if (m_Json)
        PutJson({{"event", "progress"},
                 {"file", file},
                 {"done", info.Done},
                 {"total", total},
                 {"blocks", info.Block},
                 {"errors", info.Errors}});
    else if (m_Terminal)
        ShowBar(file, info, total);
}

void Report::ShowBar(const std::string& file, const TransferInfo& info, std::uint64_t total) {
    const std::uint64_t now = GetTickCount64();
    if (m_ClockFile != file) {
        m_ClockFile = file;
        m_ClockStart = now;
        m_ClockDone = info.Done;
    }
    const double passed = static_cast<double>(now - m_ClockStart) / 1000;
    const double rate = passed > 0 ? (info.Done - m_ClockDone) / passed : 0;
    char text[160];
    FormatText(text, "%u bytes, %.1f KB/s", info.Done, rate / 1000);
    std::string line = file + ": ";
    if (total > 0) {
        const auto filled = static_cast<std::size_t>(std::uint64_t{info.Done} * BarWidth / total);
        line += "[" + std::string(filled, '#') + std::string(BarWidth - filled, ' ') + "] ";
        const auto rest = static_cast<double>(total - info.Done);
        const auto left = rate > 0 ? static_cast<unsigned>(rest / rate + 1) : 0U;
        FormatText(text, "%u of %u, %.1f KB/s, %u:%02u left", info.Done,
                   static_cast<unsigned>(total), rate / 1000, left / 60, left % 60);
    }
    line += text;
    std::fprintf(stderr, "\r%-78s", line.c_str());
    std::fflush(stderr);
    m_BarShown = true;
}

void Report::EndBar() {
    if (m_BarShown)
        std::fputs("\n", stderr);
    m_BarShown = false;
}

void Report::Outcome(const Result& result) {
    const bool isFile = std::string_view(result.kind) == "file";
    EndBar();
    if (m_Json) {
        Json event = {
            {"event", "result"}, {result.kind, result.subject}, {"status", result.status}};
        if (isFile) {
            event["bytes"] = result.bytes;
            event["blocks"] = result.blocks;
            event["errors"] = result.errors;
        }
        PutJson(event);
    } else if (isFile && !m_Quiet) {
        std::fprintf(stderr, "%s: %s, %u bytes, %u blocks, %u errors\n", result.subject.c_str(),
                     result.status.c_str(), result.bytes, result.blocks, result.errors);
    }
}

void Report::Port(const std::string& name, const std::string& description, bool isFree) {
    const char* const state = isFree ? "free" : "in use";
    if (m_Json)
        PutJson(
            {{"event", "port"}, {"name", name}, {"description", description}, {"state", state}});
    else
        std::printf("%s\t%s\t%s\n", name.c_str(), description.c_str(), state);
}

void Report::Note(const std::string& text) {
    if (m_Quiet)
        return;
    EndBar();
    std::fprintf(stderr, "%s\n", text.c_str());
}

void Report::Error(const std::string& text) {
    EndBar();
    std::fprintf(stderr, "ZoLink: %s\n", text.c_str());
}
