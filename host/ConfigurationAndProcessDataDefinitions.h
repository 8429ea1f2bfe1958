#pragma once

#include <QString>

/// Fixed names of the configuration data.
class ConfigurationAndProcessDataDefinitions
{
public:
    ConfigurationAndProcessDataDefinitions() = delete;

    /**
     * The key of an instance's external dependency: on a configuration tree's root, the name of
     * its dependency script; in the manifest, the list of the instances that have one.
     */
    static QString getKeyDataPropertyDependencyFileExtern();

    /// The scheme of selector URLs that address configuration trees.
    static QString getSelectorUrlSchemeConfiguration();
};
