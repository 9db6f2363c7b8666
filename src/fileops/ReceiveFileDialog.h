#pragma once

class ZoTerm;

// GUI thread. Receives m_ReceiveFile from the device. Returns at once; the operation runs if
// Operation.m_ProgressDialog is set.
void OpenReceiveFileDialog(ZoTerm& terminal);
