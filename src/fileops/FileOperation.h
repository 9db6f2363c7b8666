#pragma once

// What the send, receive and boot dialogs share. GUI thread. At most one of these dialogs is open
// for a terminal; its Operation.m_ProgressDialog says which.

#include "link/ComPort.h"

#include <windows.h>

#include <cstdint>

class ZoTerm;
enum class Activity;

// The dialog has been created: it is the terminal's operation now, and stands over its window.
void AttachOperation(ZoTerm& terminal, HWND dialog, Activity activity);

// Shows the dialog with the keyboard on its Cancel button.
void ShowOperation(HWND dialog);

// The transfer runs: grays the commands, opens the clip, brings a dialog that is shown to the
// front and starts the looping sound. The taskbar shows that something runs.
void BeginOperation(ZoTerm& terminal, WORD clip);

// The link has started a transfer for the operation: from here on, its notifications count.
void AwaitTransfer(ZoTerm& terminal);

// What a notification is about.
enum class TransferNews { None, Progress, Ended };

// Looks how the operation's transfer stands; `info` is its snapshot. A notification of another
// transfer is no news, nor is one that only comes by timer, unless the transfer has ended. Ended is
// returned once. With the port closed the transfer has failed: the device is not connected.
TransferNews LookAtTransfer(ZoTerm& terminal, LPARAM notification, TransferInfo& info);

// Plays the clip over and over, from the first call on.
void PlayClip(ZoTerm& terminal);

// Shows, in the taskbar and as the time that is left, how far all of an operation is, in bytes.
// The time is known from the second block on.
void ShowTotal(ZoTerm& terminal, std::uint64_t done, std::uint64_t total);

// Ends an operation however far it has come: the commands come back, the clip stops, `sound`
// replaces the looping one (empty: silence), the dialog is destroyed. `activity` follows. The
// taskbar's button flashes when the terminal is not in front.
void EndOperation(ZoTerm& terminal, const char* sound, Activity activity);

// After the end of an operation that did not end well: the status bar says why, and the taskbar
// that. `verb` names the operation ("Send"); `status` is that of its transfer, or the reason why
// none was started.
void ShowFailure(ZoTerm& terminal, const char* verb, DWORD status);

// WM_DESTROY of a dialog that goes with its terminal's window instead: ends the sound.
void ForgetOperation(HWND dialog);

// The dialog's texts and bars.
void SetFileLine(HWND dialog, const char* verb, const char* path);
void SetProgressLine(HWND dialog, const char* text);
void SetBar(HWND dialog, int bar, std::uint64_t done, std::uint64_t total);
