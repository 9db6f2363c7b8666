#pragma once

class ZoTerm;

// Opens a modeless dialog for the terminal's sounds, its log and its file operations. Any number
// may be open; OK takes what its own dialog holds. They close with the terminal. GUI thread.
void OpenOptionsDialog(ZoTerm& terminal);
