#pragma once

// The small dialogs, each over the middle of its terminal's window, which is disabled until they
// are closed. GUI thread; the calls return at once.

class ZoTerm;

void OpenPortDialog(ZoTerm& terminal);
void OpenBaudRateDialog(ZoTerm& terminal);
void OpenDeviceDialog(ZoTerm& terminal);
void OpenAboutDialog(ZoTerm& terminal);

// Asks for a name in place of m_CurrentFile's; TakeName gets it in m_DeviceFileName. False when the
// dialog cannot be shown.
bool OpenRenameDialog(ZoTerm& terminal);
