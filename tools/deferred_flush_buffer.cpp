#include "deferred_flush_buffer.h"

namespace tool {

DeferredFlushBuffer::DeferredFlushBuffer(std::FILE* file) : file(file)
{
    setp(block.data(), block.data() + block.size());
}

bool DeferredFlushBuffer::writeHeld()
{
    const std::size_t held = static_cast<std::size_t>(pptr() - pbase());
    if (held > 0 && std::fwrite(pbase(), 1, held, file) != held)
        failed = true;
    setp(block.data(), block.data() + block.size());
    return !failed;
}

DeferredFlushBuffer::int_type DeferredFlushBuffer::overflow(int_type c)
{
    if (!writeHeld())
        return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof()))
        sputc(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
}

int DeferredFlushBuffer::sync()
{
    return failed ? -1 : 0;
}

bool DeferredFlushBuffer::finish()
{
    return writeHeld() && std::fflush(file) == 0 && !std::ferror(file);
}

}  // namespace tool
