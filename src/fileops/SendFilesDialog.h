#pragma once

class ZoTerm;

// GUI thread. Sends the terminal's file list, or with `image` its screen image. Returns at once;
// the batch runs in the dialog's messages if Operation.m_ProgressDialog is set.
void OpenSendFilesDialog(ZoTerm& terminal, bool image);
