#pragma once

class ZoTerm;

// GUI thread. Sends the terminal's file list, or with `image` its screen image. The batch runs in
// the dialog's messages; when the call returns, Operation.m_ProgressDialog says whether it does.
void OpenSendFilesDialog(ZoTerm& terminal, bool image);

// Asks the user for the name that the batch waits for. Returns at once.
void AskForName(ZoTerm& terminal);

// The batch goes on with the name that the user has given, or without the file.
void TakeName(ZoTerm& terminal, bool given);

// The converter of the batch may have ended: then the batch goes on.
void LookAtConverter(ZoTerm& terminal);

// What follows a batch once its dialog is gone: the summary when it is wanted and, when the batch
// is complete, the device's command for a converted file. To be called again when the summary is
// closed; while another dialog covers the terminal it does nothing yet.
void FinishBatch(ZoTerm& terminal);
