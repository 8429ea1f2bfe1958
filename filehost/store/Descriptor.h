#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace ConfigScript {

/// An open file of the system; negative when it could not be opened. Closed at the end of its life.
class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() { close(); }

    /// @return false when the file's content may be lost
    bool close() const
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

    /// Writes all of it from a place in the file on; false when only a part could be written.
    bool write(const QByteArray &content, off_t begin) const
    {
        for (off_t written = 0; written < content.size();) {
            const ssize_t count = ::pwrite(m_descriptor, content.constData() + written,
                                           size_t(content.size() - written), begin + written);
            if (count < 0 && errno != EINTR) {
                return false;
            }
            written += count < 0 ? 0 : off_t(count);
        }
        return true;
    }

    operator int() const { return m_descriptor; }

private:
    Q_DISABLE_COPY(Descriptor)

    mutable int m_descriptor;
};

} // namespace ConfigScript
