#pragma once

class ZoTerm;

// GUI thread. Shows the program's name and version in a dialog that covers the terminal's window.
// Returns at once.
void OpenAboutDialog(ZoTerm& terminal);
