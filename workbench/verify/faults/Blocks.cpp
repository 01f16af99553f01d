#include "workbench/verify/faults/Blocks.h"

#include "workbench/verify/core/MallocSpy.h"

#include <windows.h>

#include <cerrno>
#include <mutex>
#include <set>
#include <string>
#include <unordered_set>

namespace verify {
namespace {

/// Knows the living blocks of COM's allocator.
class ComMemory final : public MallocSpy {
public:
    std::size_t Living() const { return living_.size(); }

    void* STDMETHODCALLTYPE PostAlloc(void* block) noexcept override {
        if (block != nullptr) {
            living_.insert(block);
        }
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL) noexcept override {
        living_.erase(block);
        return block;
    }
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** newBlock, BOOL) noexcept override {
        living_.erase(block);
        *newBlock = block;
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) noexcept override { return PostAlloc(block); }

private:
    std::set<void*> living_;
};

struct Books {
    std::mutex lock;
    std::unordered_set<void*> blocks;
    std::set<HGLOBAL> globals;
    std::set<HGDIOBJ> bitmaps;
    std::map<std::string, std::atomic<std::int64_t>> balances;
    ComMemory* com = nullptr;
};

// Never destroyed: threads of the module may still allocate when the process ends.
Books& TheBooks() {
    static Books& books = *new Books;
    return books;
}

/// Writes something into the books, between a call and its caller's look at the error.
template <class Write>
void Book(void* thing, Write&& write) {
    if (thing != nullptr) {
        const DWORD error = ::GetLastError();
        const int number = errno;
        {
            const std::scoped_lock lock(TheBooks().lock);
            write(TheBooks());
        }
        errno = number;
        ::SetLastError(error);
    }
}

} // namespace

void BlockGiven(void* block) noexcept {
    Book(block, [block](Books& books) { books.blocks.insert(block); });
}

void BlockTaken(void* block) noexcept {
    Book(block, [block](Books& books) { books.blocks.erase(block); });
}

void GlobalGiven(void* block) noexcept {
    Book(block, [block](Books& books) { books.globals.insert(block); });
}

void BitmapGiven(void* bitmap) noexcept {
    Book(bitmap, [bitmap](Books& books) { books.bitmaps.insert(bitmap); });
}

std::atomic<std::int64_t>* BalanceOf(const char* name) {
    const std::scoped_lock lock(TheBooks().lock);
    return &TheBooks().balances[name];
}

void WatchComMemory() {
    // The cache of freed texts would look like a leak.
    using NoCache = void(WINAPI*)();
    const HMODULE automation = ::LoadLibraryW(L"oleaut32.dll");
    if (const auto noCache =
            reinterpret_cast<NoCache>(reinterpret_cast<void*>(::GetProcAddress(automation, "SetOaNoCache")))) {
        noCache();
    }
    TheBooks().com = new ComMemory; // COM keeps it
}

Holdings TakeHoldings() {
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    std::erase_if(books.globals, [](HGLOBAL block) { return ::GlobalFlags(block) == GMEM_INVALID_HANDLE; });
    std::erase_if(books.bitmaps, [](HGDIOBJ bitmap) { return ::GetObjectType(bitmap) != OBJ_BITMAP; });
    Holdings holdings{{"heap blocks", books.blocks.size()},
                      {"global blocks", books.globals.size()},
                      {"bitmaps", books.bitmaps.size()},
                      {"COM blocks", books.com != nullptr ? books.com->Living() : 0}};
    for (const auto& [name, balance] : books.balances) {
        holdings[name] = static_cast<std::size_t>(balance);
    }
    std::erase_if(holdings, [](const auto& entry) { return entry.second == 0; });
    return holdings;
}

} // namespace verify
