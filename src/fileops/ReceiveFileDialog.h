#pragma once

class ZoTerm;

// GUI thread. Receives m_ReceiveFile from the device; m_ProgressDialog says whether that runs.
void OpenReceiveFileDialog(ZoTerm& terminal);
