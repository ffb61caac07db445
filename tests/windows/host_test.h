// A host in a clean installation: no driver service, no log, no settings before and after.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "installation.h"

class CHostTest : public testing::Test {
protected:
    static constexpr const wchar_t* kSettingsRoot = L"Software\\QOR";

    void SetUp() override {
        Load();
        ASSERT_TRUE(m_Library->IsComplete());
        ASSERT_FALSE(g_QueryDriverService()) << "left by an earlier test";
    }
    void TearDown() override {
        m_Library->UnInit();
        if (g_QueryDriverService()) g_RemoveDriverService();
        std::filesystem::remove_all("Logs");
        RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsRoot);
    }

    /// Loads the library, anew if it was loaded: its objects begin as a new process sees them.
    void Load() {
        m_Library.reset();
        m_Library.emplace();
    }
    /// Whether something in the log matches.
    static bool LogHas(const char* pszRegex) { return std::regex_search(g_ReadLog(), std::regex(pszRegex)); }

    std::optional<CLoadedLibrary> m_Library;
};
