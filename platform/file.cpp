#include "platform/file.h"

namespace platform {

unsigned File::close() noexcept
{
    if (!isOpen())
        return 6;
    const unsigned injected = injectedFileError();
    const unsigned error = closeNow();
    return injected ? injected : error;
}

unsigned writeWholeFile(const char* path, const void* data, std::size_t bytes) noexcept
{
    File file;
    unsigned error = file.open(path, OpenFor::create);
    if (error)
        return error;
    error = bytes ? file.write(data, bytes) : 0;
    const unsigned closing = file.close();
    return error ? error : closing;
}

unsigned readRest(File& file, char** block, std::size_t* bytes) noexcept
{
    constexpr unsigned outOfMemory = 14;
    std::uint64_t size = 0, at = 0;
    if (file.size(&size) != 0 || file.seek(0, SeekFrom::here, &at) != 0 || at > size)
        size = at = 0; // a pipe has neither: take what comes
    if (size - at >= SIZE_MAX / 2)
        return outOfMemory;
    // One byte more than expected shows the end without a further call.
    std::size_t room = static_cast<std::size_t>(size - at) + 1;
    if (size == 0)
        room = 16384;
    char* text = static_cast<char*>(heapAlloc(room + 1));
    for (std::size_t count = 0; text;) {
        std::size_t got = 0;
        const unsigned error = file.read(text + count, room - count, &got);
        if (error) {
            heapFree(text);
            return error;
        }
        count += got;
        if (count < room) {
            text[count] = 0;
            *block = text;
            *bytes = count;
            return 0;
        }
        room *= 2;
        void* more = room < SIZE_MAX / 2 ? heapResize(text, room + 1) : nullptr;
        if (!more)
            heapFree(text);
        text = static_cast<char*>(more);
    }
    return outOfMemory;
}

unsigned readWholeFile(const char* path, char** block, std::size_t* bytes) noexcept
{
    File file;
    const unsigned error = file.open(path, OpenFor::read);
    return error ? error : readRest(file, block, bytes);
}

} // namespace platform
