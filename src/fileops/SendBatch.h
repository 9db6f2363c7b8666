#pragma once

// Runs a batch: sends one file after another, in the order that TransferBatch gives. The dialog at
// Operation.m_ProgressDialog reports events through these. GUI thread. Each of them may end the
// batch, and with it the dialog.

#include "link/ComPort.h"

#include <windows.h>

class ZoTerm;

constexpr UINT_PTR SettleTimer = 1; // the dialog's

// Begins a batch of the files of a packed list, or of the screen image that is its first.
void BeginBatch(ZoTerm& terminal, const char* list, bool image);

// Starts SettleTimer when the device has answered the empty line between two files.
void LetSettle(ZoTerm& terminal);

// Starts the next file when SettleTimer has run out.
void StartSettled(ZoTerm& terminal);

// Records the current file when its transfer has ended, and goes on.
void EndFile(ZoTerm& terminal, const TransferInfo& info);

// Goes on with the name that the user has given, or without the file.
void TakeName(ZoTerm& terminal, bool given);

// Ends a batch as canceled. No transfer may run.
void CancelBatch(ZoTerm& terminal);
