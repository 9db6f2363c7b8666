#pragma once

class ZoTerm;

// GUI thread. Sends the terminal's file list, or with `image` its screen image. The batch runs in
// the dialog's messages; when the call returns, m_ProgressDialog tells whether it does.
void OpenSendFilesDialog(ZoTerm& terminal, bool image);

// What follows a batch once its dialog is gone: the summary when it is wanted and, when the batch
// is complete, the device's command for a converted file. Returns when the summary is closed.
void FinishBatch(ZoTerm& terminal, bool summary, bool complete);
