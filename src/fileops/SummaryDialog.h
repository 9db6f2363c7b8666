#pragma once

class ZoTerm;

// GUI thread. Lists the outcome of the last batch's files and returns when the user has closed it.
// One that is open already lists anew instead, and the call returns at once.
void OpenSummaryDialog(ZoTerm& terminal);
