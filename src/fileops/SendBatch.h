#pragma once

// A batch on its way: one file after another to the device, as TransferBatch decides what comes
// next. The dialog at Operation.m_ProgressDialog hands on what happens. GUI thread. Each of these
// may end the batch, and with it the dialog.

#include "link/ComPort.h"

#include <windows.h>

class ZoTerm;

constexpr UINT_PTR SettleTimer = 1; // the dialog's

// Begins a batch of the files of a packed list, or of the screen image that is its first.
void BeginBatch(ZoTerm& terminal, const char* list, bool image);

// The device has its empty line between two files: SettleTimer begins.
void LetSettle(ZoTerm& terminal);

// SettleTimer has run out: the next file starts.
void StartSettled(ZoTerm& terminal);

// The transfer of the current file has ended: records the result, and goes on.
void EndFile(ZoTerm& terminal, const TransferInfo& info);

// Goes on with the name that the user has given, or without the file.
void TakeName(ZoTerm& terminal, bool given);

// Ends a batch of which no transfer runs, as canceled.
void CancelBatch(ZoTerm& terminal);
