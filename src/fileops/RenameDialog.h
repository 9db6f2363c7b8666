#pragma once

class ZoTerm;

// GUI thread. Asks for a name in place of m_CurrentFile's, in a dialog that covers the terminal's
// window, and returns at once. The dialog puts the name into m_DeviceFileName and calls TakeName.
// False when it cannot be shown.
bool OpenRenameDialog(ZoTerm& terminal);
