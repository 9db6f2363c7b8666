#include "TransferBatch.h"

#include "base/Text.h"
#include "batch/DeviceName.h"
#include "batch/PackedList.h"
#include "link/codec/PathName.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

// Replaces a buffer smaller than `needed` bytes; its content is lost. Keeps it without memory.
bool Grow(char*& buffer, std::uint32_t& size, std::size_t needed) {
    if (needed <= size)
        return true;
    if (needed > std::numeric_limits<std::uint32_t>::max())
        return false;
    auto* const grown = static_cast<char*>(std::calloc(needed, 1));
    if (!grown)
        return false;
    std::free(buffer);
    buffer = grown;
    size = static_cast<std::uint32_t>(needed);
    return true;
}

std::uint32_t Saturated(std::uint64_t value) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(value, most));
}

} // namespace

TransferBatch::~TransferBatch() {
    std::free(m_FileList);
    std::free(m_DeviceNames);
    std::free(m_Results);
}

bool TransferBatch::Allocate() {
    return Grow(m_FileList, m_FileListSize, FirstBufferSize) &&
           Grow(m_DeviceNames, m_DeviceNamesSize, FirstBufferSize) &&
           Grow(m_Results, m_ResultsSize, FirstBufferSize);
}

bool TransferBatch::TakeList(const char* list, std::size_t size, std::size_t room) {
    if (!Grow(m_FileList, m_FileListSize, std::max(size, room)))
        return false;
    std::memset(m_FileList, 0, m_FileListSize);
    std::memcpy(m_FileList, list, size);
    return true;
}

bool TransferBatch::Reset() {
    const std::size_t files = CountNames(m_FileList) + 1; // or the image
    const bool room = Grow(m_Results, m_ResultsSize, ResultsRoom(files)) &&
                      Grow(m_DeviceNames, m_DeviceNamesSize, DeviceNamesRoom(files));
    m_CancelRequested = 0;
    ClearRecords(); // also without room: a buffer may be another one now
    return room;
}

void TransferBatch::ClearRecords() {
    std::memset(m_Results, 0, m_ResultsSize);
    std::memset(m_DeviceNames, 0, m_DeviceNamesSize);
    m_CurrentResult = m_Results;
    m_CurrentDeviceName = m_DeviceNames;
}

void TransferBatch::Begin(const char* list, bool image, std::uint64_t bytes) {
    m_ImageMode = image;
    m_CurrentFile = list;
    m_BatchBytesTotal = Saturated(bytes);
    m_BatchBytesDone = 0;
    m_CurrentResult = m_Results;
    m_CurrentDeviceName = m_DeviceNames;
}

TransferBatch::Search TransferBatch::FindFile(bool asks) {
    while (!AtEnd()) {
        if (ValidDeviceName(m_CurrentFile) && !NamesNoFile(m_CurrentFile)) {
            TakeOwnName();
            return Search::Found;
        }
        if (asks && !NamesNoFile(m_CurrentFile)) // no new name would help
            return Search::WantsName;
        RefuseName();
    }
    return Search::ListRanOut;
}

// Of a path too long for the field its name is enough.
void TransferBatch::TakeOwnName() {
    if (!CopyText(m_DeviceFileName, m_CurrentFile))
        CopyText(m_DeviceFileName, BaseName(m_CurrentFile));
}

bool TransferBatch::Rename() const {
    return ValidDeviceName(m_DeviceFileName) != 0;
}

void TransferBatch::RefuseName() {
    Record(ResultWrongName);
    m_CurrentFile = NextName(m_CurrentFile);
}

void TransferBatch::Record(ResultCode code) {
    TransferResult result;
    result.code = code;
    Append(result);
}

void TransferBatch::RecordSent(std::uint32_t blocks, std::uint32_t errors, std::uint32_t size) {
    Append(SentResult(blocks, errors, size));
    AppendDeviceName();
}

void TransferBatch::FinishFile(std::uint32_t size) {
    m_BatchBytesDone = Saturated(std::uint64_t{m_BatchBytesDone} + size);
    m_CurrentFile = NextName(m_CurrentFile);
}

void TransferBatch::Append(const TransferResult& result) {
    const auto used = static_cast<std::size_t>(m_CurrentResult - m_Results);
    if (used + ResultsRoom(1) <= m_ResultsSize)
        m_CurrentResult = PutResult(m_CurrentResult, result);
}

void TransferBatch::AppendDeviceName() {
    const char* const name = BaseName(m_DeviceFileName);
    const std::size_t size = std::strlen(name) + 1;
    const auto used = static_cast<std::size_t>(m_CurrentDeviceName - m_DeviceNames);
    if (used + size + 1 > m_DeviceNamesSize)
        return;
    std::memcpy(m_CurrentDeviceName, name, size);
    m_CurrentDeviceName += size;
}
