// What the tests of settings files need of the world they run in: the simulated one, or Windows itself.
#pragma once

#include <gtest/gtest.h>

#include <memory>

namespace vxttest {

/// Runs in an empty folder of its own, on a machine without an install directory.
class CSettingsFolder : public ::testing::Test {
protected:
    CSettingsFolder();
    ~CSettingsFolder() override;

    /// What the registry has; null: nothing.
    static void SetInstallDir(const char* pszValue);

private:
    std::shared_ptr<void> m_pWorld;
};

/// What a second process does: saves one whole profile, then the other, and so on. Never returns.
void g_SaveInTurn();

/// That process, in this folder. Kill ends it wherever it stands.
class CSaver {
public:
    CSaver();
    ~CSaver() { Kill(); }
    CSaver(const CSaver&) = delete;
    void Kill();
    static int AffordableKills();  ///< in some seconds

private:
    uintptr_t m_uProcess = 0;
};

}  // namespace vxttest
