#pragma once

class ZoTerm;

// GUI thread. Loads m_BootFile into the device once it restarts; m_ProgressDialog shows whether
// that runs.
void OpenBootDialog(ZoTerm& terminal);
