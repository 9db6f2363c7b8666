#pragma once

// The local file of a receive, or of saved output. One that is there already stays as it is until
// the new one is complete: until then the data goes into a file beside it.

#include <windows.h>

#include <cstdint>

// One thread at a time.
class ReceivedFile {
public:
    ReceivedFile() = default;
    ~ReceivedFile() { Discard(); }
    ReceivedFile(const ReceivedFile&) = delete;
    ReceivedFile& operator=(const ReceivedFile&) = delete;

    // Makes the file to write to. Returns 0 or the platform's error, also when the file that is
    // there could not be replaced in the end: it is read-only, a folder, or in use.
    DWORD Create(const char* path);

    // Appends bytes. Returns 0 or the platform's error.
    DWORD Append(const std::uint8_t* bytes, std::uint32_t length);

    // Closes the file, which takes its place. Returns 0 or the platform's error; then it is
    // deleted, and the earlier file is untouched.
    DWORD Keep();

    // Deletes the file, and nothing that Create has not made.
    void Discard();

    // True when another file waits to be replaced.
    bool Replaces() const { return m_Part[0] != '\0'; }

private:
    DWORD CreatePart();

    HANDLE m_ReceiveHandle = nullptr;
    char m_Path[MAX_PATH] = {};
    char m_Part[MAX_PATH] = {}; // the file beside it; empty: there is none
};
