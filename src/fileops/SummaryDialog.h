#pragma once

class ZoTerm;

// GUI thread. Lists the records of the last batch in a dialog that covers the terminal's window,
// and returns at once. If it is open already, fills it again.
void OpenSummaryDialog(ZoTerm& terminal);
