#include "terminal/ModalScope.h"

#include "terminal/ZoTerm.h"

namespace {

ModalScope* Top = nullptr; // of the GUI thread, the only one

} // namespace

ModalScope::ModalScope(ZoTerm& terminal, Kind kind)
    : m_Terminal(terminal), m_Kind(kind), m_Below(Top) {
    Top = this;
    m_Terminal.EnterModal();
}

ModalScope::~ModalScope() {
    Top = m_Below;
    m_Terminal.LeaveModal();
}

bool ModalScope::DialogOnTopIs(const ZoTerm& terminal) {
    return Top && Top->m_Kind == Dialog && &Top->m_Terminal == &terminal;
}
