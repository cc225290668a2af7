#include "platform/stack_trace.h"

#include <windows.h>

#include <winternl.h>

namespace platform {

namespace {
// As NtCurrentTeb() does, which the compiler takes for a read outside of every object.
const TEB* threadBlock() noexcept
{
    const TEB* block;
#if defined(__i386__)
    asm("movl %%fs:0x18, %0" : "=r"(block));
#else
    asm("movq %%gs:0x30, %0" : "=r"(block));
#endif
    return block;
}
} // namespace

// The loader's list is read without its lock, which a thread that waits for this one may hold.
void CodeMap::load(Register sp) noexcept
{
    m_count = 0;
    m_namesUsed = 0;
    MEMORY_BASIC_INFORMATION stack = {};
    stackBegin = 0;
    stackEnd = 0;
    if (VirtualQuery(reinterpret_cast<const void*>(sp), &stack, sizeof stack) && stack.State == MEM_COMMIT)
        stackEnd = reinterpret_cast<Register>(stack.BaseAddress) + stack.RegionSize;
    const LIST_ENTRY* const list = &threadBlock()->ProcessEnvironmentBlock->Ldr->InMemoryOrderModuleList;
    int left = most;
    for (const LIST_ENTRY* e = list->Flink; e && e != list && left > 0; e = e->Flink, --left) {
        const auto* const entry = CONTAINING_RECORD(e, LDR_DATA_TABLE_ENTRY, InMemoryOrderLinks);
        const auto base = reinterpret_cast<Register>(entry->DllBase);
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        if (!base || dos->e_magic != IMAGE_DOS_SIGNATURE)
            continue;
        const auto* const nt =
            reinterpret_cast<const IMAGE_NT_HEADERS*>(base + static_cast<Register>(dos->e_lfanew));
        char name[64];
        std::size_t length = 0;
        const WCHAR* const path = entry->FullDllName.Buffer;
        for (unsigned i = 0; path && i < entry->FullDllName.Length / sizeof(WCHAR); ++i)
            if (path[i] == L'\\' || path[i] == L'/')
                length = 0;
            else if (length < sizeof name)
                name[length++] = path[i] < 0x7F ? static_cast<char>(path[i]) : '?';
        const Register begin = base + nt->OptionalHeader.BaseOfCode;
        add(begin, begin + nt->OptionalHeader.SizeOfCode, base, name, length);
    }
}

} // namespace platform
