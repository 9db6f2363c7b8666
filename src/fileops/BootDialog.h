#pragma once

class ZoTerm;

// GUI thread. Loads m_BootFile into the device once it restarts. Returns at once; the operation
// runs if Operation.m_ProgressDialog is set.
void OpenBootDialog(ZoTerm& terminal);
