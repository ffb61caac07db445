#pragma once

#include <utility>

namespace vxt {

/// Runs its action when the scope ends, on every path out of it, unless dismissed.
template <class TAction> class [[nodiscard]] CScopeExit {
public:
    explicit CScopeExit(TAction Action) : m_Action(std::move(Action)) {}
    CScopeExit(const CScopeExit&) = delete;
    ~CScopeExit() {
        if (!m_bDismissed) m_Action();
    }
    void Dismiss() { m_bDismissed = true; }

private:
    TAction m_Action;
    bool m_bDismissed = false;
};

}  // namespace vxt
