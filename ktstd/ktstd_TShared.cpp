#include "ktstd/ktstd_TShared.h"

#include "ktstd/ktstd_Pool_detail.h"

#include <memory>
#include <new>

namespace {

//! Deletions inside one another before the rest has to wait for the outermost.
constexpr int kMaxNesting = 64;

//! An object without holders that is deleted later.
struct Waiting
{
    const ktstd_TShared* object;
    Waiting* next;
};

int sNesting = 0;
Waiting* sWaiting = nullptr;

//! @return  false when there is no memory to note the object
bool postpone(const ktstd_TShared* aObject) noexcept
{
    auto* const entry = new (std::nothrow) Waiting{aObject, sWaiting};
    if (entry != nullptr) {
        sWaiting = entry;
    }
    return entry != nullptr;
}

//! Gives an object that waits, which then waits no more; null when there is none.
const ktstd_TShared* nextWaiting() noexcept
{
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): an entry is never its own next one
    const std::unique_ptr<Waiting> entry(sWaiting);
    if (!entry) {
        return nullptr;
    }
    sWaiting = entry->next;
    return entry->object;
}

} // namespace

KTSTD_DEFINE_TYPE(ktstd_TShared, ktstd_Transient)

void ktstd_TShared::Delete() const
{
    if (sNesting >= kMaxNesting && postpone(this)) {
        return;
    }
    ++sNesting;
    delete this;
    if (sNesting == 1) {
        while (const ktstd_TShared* const object = nextWaiting()) {
            delete object;
        }
    }
    --sNesting;
}

void ktstd_TShared::Serialize(ktstd_Archive& aArchive)
{
    ktstd_Transient::Serialize(aArchive);
}

void* ktstd_TShared::operator new(std::size_t aSize)
{
    return ktstd_detail::AllocatePooled(aSize);
}

void ktstd_TShared::operator delete(void* aMemory, std::size_t aSize) noexcept
{
    ktstd_detail::FreePooled(aMemory, aSize);
}
