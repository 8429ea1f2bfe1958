#pragma once

#include <QString>

class SystemInformationManagerDataDefinitions
{
public:
    static QString getKeyInstanceName();
};
