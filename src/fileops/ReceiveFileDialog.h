#pragma once

class ZoTerm;

// GUI thread. Receives m_ReceiveFile from the device; m_ProgressDialog says whether that runs.
void OpenReceiveFileDialog(ZoTerm& terminal);

// A receive that could not be started has waited for the console's text: the console hears that no
// program talks to it any more.
void FinishFailedReceive(ZoTerm& terminal);
