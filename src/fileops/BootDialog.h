#pragma once

class ZoTerm;

// GUI thread. Loads m_BootFile into the device once it restarts; m_ProgressDialog tells whether
// that runs.
void OpenBootDialog(ZoTerm& terminal);
