#pragma once

// The small modal dialogs, each over the middle of its terminal's window. GUI thread; they return
// when the user has closed them.

class ZoTerm;

void OpenPortDialog(ZoTerm& terminal);
void OpenBaudRateDialog(ZoTerm& terminal);
void OpenDeviceDialog(ZoTerm& terminal);
void OpenAboutDialog(ZoTerm& terminal);

// Asks for a name in place of m_CurrentFile's. True with a valid one in m_DeviceFileName, false
// when the user does not want to give one.
bool OpenRenameDialog(ZoTerm& terminal);
