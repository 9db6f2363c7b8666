// Starts the batch for a list of files, whatever its origin.

#include "base/FileNames.h"
#include "batch/PackedList.h"
#include "fileops/SendFilesDialog.h"
#include "terminal/MessageLoop.h"
#include "terminal/ZoTerm.h"

namespace {

constexpr std::uint32_t EntryRoom = MAX_PATH; // bytes of the list that each file is given

} // namespace

bool ZoTerm::TakePaths(const PathList& list) {
    return list.Count() > 0 && Batch.TakeList(list.List(), list.Size(), list.Count() * EntryRoom);
}

bool ZoTerm::StartSendBatch(bool image) {
    if (!Batch.Reset())
        return false;
    OpenSendFilesDialog(*this, image);
    return Operation.m_ProgressDialog != nullptr;
}

bool ZoTerm::StartSendList(const char* list, std::size_t size) {
    if (OpensPort() && SenderWaits())
        AwaitOpening();
    const std::size_t checked = CheckedListSize(list, size);
    if (checked <= 1 || m_CloseWanted || (!TakesLists() && m_Activity != Activity::Opening) ||
        !Batch.TakeList(list, checked, 0))
        return false;
    if (IsIconic(m_hWnd)) // its dialogs would be as hidden as it is
        ShowWindow(m_hWnd, SW_RESTORE);
    m_SendsWhenOpen = OpensPort();
    return m_SendsWhenOpen || StartSendBatch(false);
}
