#pragma once

// The settings of a terminal, kept in the registry between runs. GUI thread.

#include <windows.h>

#include <cstdint>

// A converter and the files that it takes. A text without memory is null.
struct MusicRow {
    char* ext;
    char* converter;
    std::uint32_t converterNewExt;
    char* newExt;
    char* command;
};

struct TermSettings {
    TermSettings() = default;
    ~TermSettings(); // frees the rows (MusicSupport.cpp)
    TermSettings(const TermSettings&) = delete;
    TermSettings& operator=(const TermSettings&) = delete;

    std::uint32_t m_MusicSupport = 0;
    std::int32_t m_MusicSupportExt = 0; // number of m_MusicRows
    std::int32_t m_MusicSupportCurExt = 0;
    MusicRow* m_MusicRows = nullptr;
    std::uint32_t m_ListOn = 0;
    std::int32_t m_WindowX = 0;
    std::int32_t m_WindowY = 0;
    std::int32_t m_WindowWidth = 0;
    std::int32_t m_WindowHeight = 0;
    std::int32_t m_ShowCmd = 0;
    LOGFONTA m_Font = {};
    std::uint32_t m_TextColor = 0;
    char m_BootFile[MAX_PATH] = {};
    char m_ReceiveFile[MAX_PATH] = {};
    char m_ImageFile[MAX_PATH] = {};
    char m_MacrosFile[MAX_PATH] = {};
    std::uint32_t m_BaudRate = 0;
    std::int32_t m_PortNumber = 0;
    char m_DeviceName[MAX_PATH] = {};
    char m_CmdWav[MAX_PATH] = {};
    char m_CmdErrWav[MAX_PATH] = {};
    char m_CompleteWav[MAX_PATH] = {};
    char m_SendMid[MAX_PATH] = {};
    char m_LogFile[MAX_PATH] = {};
    std::uint32_t m_ImageBlockSize = 0;
    std::uint32_t m_AskBeforeSendWrongFile = 0;
    std::uint32_t m_DisplaySummary = 0;
    std::uint32_t m_ShowProgress = 0;
    std::uint32_t m_UseLogFile = 0;
    std::uint32_t m_FastTransfers = 0; // no pauses; no control changes it
    std::uint32_t m_LogTimes = 0;      // each line of the log begins with the time
    std::uint32_t m_DropOldestText = 0;
    RECT m_SummaryRect = {};
    std::int32_t m_SummaryColumnWidths[6] = {};
};
