#pragma once

#include <string>

/// The culture of the program, and the switches for translators and testers.
///
/// Keeps the library's resource manager initialised. The manager reads the switches from the
/// environment when it is created. So to set a switch means to set a variable and to create the
/// manager again.
class Localization {
public:
    /// Begins without a culture: the default culture's resources are shown.
    Localization();
    Localization(const Localization&) = delete;
    Localization& operator=(const Localization&) = delete;
    ~Localization();

    /// The culture's tag; empty for none.
    const std::wstring& culture() const { return m_culture; }
    std::wstring defaultCulture() const;
    /// @param tag  Empty for none.
    /// @return false, with nothing changed, for a tag that the library refuses.
    bool setCulture(const std::wstring& tag);

    /// Every string begins with its module and id.
    bool showsOrigin() const;
    void showOrigin(bool on);
    /// Strings that had to fall back to the default culture are marked.
    bool marksFallbacks() const;
    void markFallbacks(bool on);

    /// Frees every satellite, so that new and changed ones are found.
    void refresh();

private:
    void begin();

    std::wstring m_culture;
};
