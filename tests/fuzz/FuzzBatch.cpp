// A list of files from another process, on its way through a batch, in any code page.

#include "FuzzTarget.h"

#include "base/Text.h"
#include "batch/DeviceName.h"
#include "batch/PackedList.h"
#include "batch/TransferBatch.h"
#include "link/codec/PathName.h"

#include <cstring>

namespace {

// Sends what has a name for the device and refuses the rest. The number of files sent.
std::size_t RunBatch(TransferBatch& batch, bool asks) {
    std::size_t sent = 0;
    for (;;) {
        const TransferBatch::Search search = batch.FindFile(asks);
        if (search == TransferBatch::Search::ListRanOut)
            return sent;
        if (search == TransferBatch::Search::WantsName) {
            CopyText(batch.m_DeviceFileName, BaseName(batch.m_CurrentFile));
            Demand(asks && !batch.Rename());
            batch.RefuseName();
            continue;
        }
        Demand(ValidDeviceName(batch.m_DeviceFileName) != 0);
        const auto size = static_cast<std::uint32_t>(std::strlen(batch.m_CurrentFile));
        batch.RecordSent(size, size, size);
        batch.FinishFile(size);
        ++sent;
    }
}

// Each file has its record, and each sent one its name.
void DemandRecords(const TransferBatch& batch, std::size_t files, std::size_t sent) {
    std::size_t withName = 0;
    TransferResult result;
    for (const char* at = batch.m_Results; (at = GetResult(at, result)) != nullptr; --files) {
        Demand(files > 0);
        withName += result.Sent() ? 1 : 0;
    }
    Demand(files == 0 && withName == sent);
    Demand(CountNames(batch.m_DeviceNames) == sent);
    for (const char* name = batch.m_DeviceNames; *name; name = NextName(name))
        Demand(ValidDeviceName(name) != 0);
}

} // namespace

// The first byte chooses the code page and whether names are asked for; the rest is the list.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    ChooseCodePage(data[0]);
    const auto* const list = reinterpret_cast<const char*>(data + 1);
    const std::size_t taken = CheckedListSize(list, size - 1);
    if (taken == 0)
        return 0;
    Demand(taken < size && list[taken - 1] == '\0');
    TransferBatch batch;
    Demand(batch.Allocate() && batch.TakeList(list, taken, 0) && batch.Reset());
    const std::size_t files = CountNames(batch.m_FileList);
    batch.Begin(batch.m_FileList, false, size);
    const std::size_t sent = RunBatch(batch, data[0] >= 0x80);
    Demand(batch.m_BatchBytesDone <= batch.m_BatchBytesTotal);
    DemandRecords(batch, files, sent);
    return 0;
}
