#pragma once

class ZoTerm;

// Opens a modeless dialog for the terminal's sounds, log and file operations. Any number may be
// open; OK applies its own dialog's values. They close with the terminal. GUI thread.
void OpenOptionsDialog(ZoTerm& terminal);
