#pragma once

class ZoTerm;

// GUI thread. Sends the terminal's file list, or with `image` its screen image. The batch runs in
// the dialog's messages; when the call returns, Operation.m_ProgressDialog says whether it does.
void OpenSendFilesDialog(ZoTerm& terminal, bool image);
