#include "platform/thread.h"

#include <ztree/log.h>

namespace ztree::detail {

IUnknown* LogSlot::acquire() const
{
    for (;;) {
        std::uintptr_t word = m_word.load(std::memory_order_acquire);
        if (word == 0)
            return nullptr;
        if (word & busy)
            platform::sleepFor(0);
        else if (m_word.compare_exchange_weak(word, word | busy, std::memory_order_acquire,
                                              std::memory_order_relaxed)) {
            auto* const object = reinterpret_cast<IUnknown*>(word);
            object->AddRef();
            m_word.store(word, std::memory_order_release);
            return object;
        }
    }
}

IUnknown* LogSlot::replace(IUnknown* next)
{
    if (next)
        next->AddRef();
    for (;;) {
        std::uintptr_t word = m_word.load(std::memory_order_relaxed);
        if (word & busy)
            platform::sleepFor(0);
        else if (m_word.compare_exchange_weak(word, reinterpret_cast<std::uintptr_t>(next),
                                              std::memory_order_acq_rel, std::memory_order_relaxed))
            return reinterpret_cast<IUnknown*>(word);
    }
}

} // namespace ztree::detail
