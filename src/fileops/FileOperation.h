#pragma once

// What the send, receive and boot dialogs share. GUI thread. At most one of these dialogs is open
// for a terminal; its Operation.m_ProgressDialog says which.

#include "link/ComPort.h"

#include <windows.h>

#include <cstdint>

class ZoTerm;
enum class Activity;

// Makes a new dialog the terminal's operation, and centers it over the terminal's window.
void AttachOperation(ZoTerm& terminal, HWND dialog, Activity activity);

// Shows the dialog with the keyboard on its Cancel button.
void ShowOperation(HWND dialog);

// Shows that a transfer runs: grays the commands, opens the clip, brings a visible dialog to the
// front, starts the looping sound and the taskbar's progress.
void BeginOperation(ZoTerm& terminal, WORD clip);

// Call it when the link has started the operation's transfer: its notifications count from here on.
void AwaitTransfer(ZoTerm& terminal);

// What a notification reports.
enum class TransferNews { None, Progress, Ended };

// Takes a snapshot of the operation's transfer into `info`, and returns what is new. None for a
// notification of another transfer, and for one by timer unless the transfer has ended. Ended comes
// once. With the port closed the transfer has failed: ERROR_DEVICE_NOT_CONNECTED.
TransferNews LookAtTransfer(ZoTerm& terminal, LPARAM notification, TransferInfo& info);

// Plays the clip over and over, from the first call on.
void PlayClip(ZoTerm& terminal);

// Shows an operation's progress, in bytes, in the taskbar and as the time left. The time is known
// from the second block on.
void ShowTotal(ZoTerm& terminal, std::uint64_t done, std::uint64_t total);

// Ends an operation at any stage: enables the commands, stops the clip, plays `sound` in place of
// the looping one (empty: silence), destroys the dialog and sets `activity`. Flashes the taskbar's
// button when the terminal is not in front.
void EndOperation(ZoTerm& terminal, const char* sound, Activity activity);

// Shows a failed operation in the status bar, with the reason, and in the taskbar. `verb` names the
// operation ("Send"); `status` is the Win32 error of its transfer or of starting it. ERROR_SUCCESS
// shows nothing.
void ShowFailure(ZoTerm& terminal, const char* verb, DWORD status);

// For WM_DESTROY of a dialog that closes with its terminal's window: ends converter and sound.
void ForgetOperation(HWND dialog);

// The dialog's texts and bars.
void SetFileLine(HWND dialog, const char* verb, const char* path);
void SetProgressLine(HWND dialog, const char* text);
void SetBar(HWND dialog, int bar, std::uint64_t done, std::uint64_t total);
