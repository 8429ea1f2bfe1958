#pragma once

#include <QString>

class ConfigurationAndProcessDataDefinitions
{
public:
    static QString getKeyDataPropertyDependencyFileExtern();
    static QString getSelectorUrlSchemeConfiguration();
};
