#pragma once

// A batch of files on their way to the device: the list and the current file, the records, the
// totals, and what comes next. The dialogs turn the link's notifications into its operations and
// show its numbers. No windows.h. One thread.

#include "TransferResult.h"

#include <cstddef>
#include <cstdint>

// The settings that a batch works with: copied when it begins, and kept to its end.
struct BatchSettings {
    static constexpr std::size_t PathRoom = 260;

    char folder[PathRoom] = {}; // on the device
    char completeWav[PathRoom] = {};
    char errorWav[PathRoom] = {};
    std::uint32_t imageBlockSize = 0; // bytes
    bool asksForNames = false;        // for a name that the device does not take
    bool showsSummary = false;
};

class TransferBatch {
public:
    static constexpr std::uint32_t FirstBufferSize = 10000; // bytes of each buffer
    static constexpr std::size_t NameRoom = 260;

    // The result of the search for the next file.
    enum class Search { Found, WantsName, ListRanOut };

    TransferBatch() = default;
    ~TransferBatch();
    TransferBatch(const TransferBatch&) = delete;
    TransferBatch& operator=(const TransferBatch&) = delete;

    // Makes the buffers, empty, of FirstBufferSize each. False without memory.
    bool Allocate();

    // Replaces the list of files by a copy of a packed list of `size` bytes, in a buffer that has
    // `room` bytes at least. False, with the old list in place, without memory.
    bool TakeList(const char* list, std::size_t size, std::size_t room);

    // Before a batch: clears records, names and cancel request of the last one. False without
    // memory for those of the list.
    bool Reset();

    // After a receive, which leaves no records.
    void ClearRecords();

    // Begins with the first entry of `list`: m_FileList, or a list of one file from elsewhere,
    // which has to live as long as the batch. `bytes` is the size of all its files.
    void Begin(const char* list, bool image, std::uint64_t bytes);

    // Searches, from the current file on, for one whose name the device takes. Records the others
    // as ResultWrongName or, with `asks`, stops at one and returns WantsName: call Rename or
    // RefuseName, and search on.
    Search FindFile(bool asks);

    // Sends the current file under its own name. Does not check it: an image's may be any.
    void TakeOwnName();

    // Sends the current file under the name in m_DeviceFileName. False when the device does not
    // take that name; call it again or RefuseName.
    bool Rename() const;

    // The current file has no name for the device: it is recorded, and the next one is current.
    void RefuseName();

    // Appends a record of the current file: not sent, or sent with the name under which it is
    // stored. A batch whose list was reset always has the room.
    void Record(ResultCode code);
    void RecordSent(std::uint32_t blocks, std::uint32_t errors, std::uint32_t size);

    // The current file is over, sent or not: its bytes count as done, and the next is current.
    void FinishFile(std::uint32_t size);

    bool AtEnd() const { return *m_CurrentFile == '\0'; }
    bool AtFirstOfList() const { return m_CurrentFile == m_FileList; }

    BatchSettings Used;

    char* m_FileList = nullptr; // a packed list; the last one stays for the next dialog
    std::uint32_t m_FileListSize = 0;
    char* m_DeviceNames = nullptr; // a packed list of the names of the files that were sent
    std::uint32_t m_DeviceNamesSize = 0;
    char* m_Results = nullptr; // packed records
    std::uint32_t m_ResultsSize = 0;
    const char* m_CurrentFile = "";
    char* m_CurrentDeviceName = nullptr; // the next free places
    char* m_CurrentResult = nullptr;
    char m_DeviceFileName[NameRoom] = {}; // only what stands behind its last backslash counts
    std::uint32_t m_BatchBytesDone = 0;
    std::uint32_t m_BatchBytesTotal = 0;
    std::uint32_t m_CancelRequested = 0;
    std::uint32_t m_ImageMode = 0;

private:
    void Append(const TransferResult& result);
    void AppendDeviceName();
};
