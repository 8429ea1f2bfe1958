#pragma once

#include <QObject>
#include <QString>

namespace ConfigScript {

class MainWindow;

/// Makes a picture of the window as soon as it shows what was asked for, and ends the program.
class Screenshot : public QObject
{
    Q_OBJECT

public:
    /// @param filePath of the picture; its ending tells the format
    Screenshot(MainWindow &window, const QString &instance, const QString &filePath);

private:
    void takeIfReady();

    MainWindow &m_window;
    const QString m_instance;
    const QString m_filePath;
};

} // namespace ConfigScript
