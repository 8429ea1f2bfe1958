#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"
#include "filehost/store/Descriptor.h"

#include <QString>

#include <chrono>
#include <memory>

namespace ConfigScript {

/**
 * The right to write a project, which one process has at a time: the kernel's lock of the file
 * .configscript-lock in the project folder. It ends with the process, however that ends; what the
 * file holds only tells others who it is.
 */
class FILEHOST_EXPORT ProjectLock
{
public:
    /// How long acquire() waits for another process.
    static constexpr std::chrono::milliseconds patience{2000};

    /// @return null, with @p error set, when another process keeps the right, or when no lock can
    ///         be made in the folder
    static std::unique_ptr<ProjectLock> acquire(const QString &projectPath, Diagnostic &error);

    ~ProjectLock();

private:
    explicit ProjectLock(const QByteArray &filePath);

    bool tryLock();
    void tellOthers() const;

    QByteArray m_filePath;
    Descriptor m_file;
};

} // namespace ConfigScript
