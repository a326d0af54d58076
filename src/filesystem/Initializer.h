#pragma once

namespace QzFileSystem
{
    /// Counted start and stop of the file layer: the first one makes its module object, the last one ends
    /// it. Copies count. May be used from any thread. The functions of the layer do not depend on it.
    class Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&) : Initializer() {}
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer();
    };
}
