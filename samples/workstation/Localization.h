#pragma once

#include <string>

/// The culture that the program speaks, and the switches for translators and testers.
///
/// Keeps the library's resource manager alive. The manager reads the switches when it comes to
/// life, from the environment; so a switch is set there and the manager made anew.
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
    /// @return false, with nothing changed, for a tag that the library does not take.
    bool setCulture(const std::wstring& tag);

    /// Every string begins with its module and id.
    bool showsOrigin() const;
    void showOrigin(bool on);
    /// Strings that had to fall back to the default culture are marked.
    bool marksFallbacks() const;
    void markFallbacks(bool on);

    /// Forgets every library, so that new and changed satellites are found.
    void refresh();

private:
    void begin();

    std::wstring m_culture;
};
