#pragma once

#include <QtGlobal>

#include <utility>

#include <unistd.h>

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

    operator int() const { return m_descriptor; }

private:
    Q_DISABLE_COPY(Descriptor)

    mutable int m_descriptor;
};
