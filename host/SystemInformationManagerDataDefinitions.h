#pragma once

#include <QString>

/// Fixed names of the system information.
class SystemInformationManagerDataDefinitions
{
public:
    SystemInformationManagerDataDefinitions() = delete;

    /// The key of an instance's name in the manifest's entries.
    static QString getKeyInstanceName();
};
