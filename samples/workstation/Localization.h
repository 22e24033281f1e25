#pragma once

#include <string>

/// Manages the culture of the program and the switches for translators and testers.
///
/// Keeps the library's resource manager initialized. The manager reads the switches from
/// environment variables when it is created. Changing a switch therefore sets the environment
/// variable and creates the manager again.
class Localization {
public:
    /// Sets no culture, so the resources of the default culture are used.
    Localization();
    Localization(const Localization&) = delete;
    Localization& operator=(const Localization&) = delete;
    ~Localization();

    /// Returns the tag of the culture, or an empty string if no culture is set.
    const std::wstring& culture() const { return m_culture; }
    std::wstring defaultCulture() const;
    /// @param tag  The tag of the culture. An empty string selects the default culture.
    /// @return false if the library rejects the tag. In this case, the culture does not change.
    bool setCulture(const std::wstring& tag);

    /// The string origin switch. If the switch is on, every string begins with the module name and
    /// the string id, for example "charts.dll(7):".
    bool showsOrigin() const;
    void showOrigin(bool on);
    /// The fallback mark switch. If the switch is on, strings from the default culture's satellite
    /// have marks.
    bool marksFallbacks() const;
    void markFallbacks(bool on);

    /// Frees all satellites and creates the manager again, so that new and changed satellites are
    /// found.
    void refresh();

private:
    void createManager();

    std::wstring m_culture;
};
