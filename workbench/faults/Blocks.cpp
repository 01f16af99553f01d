#include "workbench/faults/Blocks.h"

#include "workbench/faults/Addresses.h"
#include "workbench/faults/Injector.h"
#include "workbench/gauges/MallocSpy.h"

#include <windows.h>

#include <cerrno>
#include <iterator>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <unordered_map>

namespace faults {
namespace {

struct Block {
    std::size_t bytes = 0;
    std::size_t serial = 0;
    std::vector<void*> stack;
};

struct Books {
    std::mutex lock;
    std::unordered_map<void*, Block> blocks;
    std::set<HGLOBAL> globals;
    std::set<HGDIOBJ> bitmaps;
    std::map<std::string, std::unique_ptr<std::int64_t>> balances;
    std::size_t serial = 0;
};

// Never destroyed: threads of the module may still allocate when the process ends.
Books& TheBooks() {
    static Books& books = *new Books;
    return books;
}

/// The hooks run between a call and its caller's look at the error.
class ErrorKeeper {
public:
    ErrorKeeper() noexcept : error_(::GetLastError()), number_(errno) {}
    ~ErrorKeeper() {
        errno = number_;
        ::SetLastError(error_);
    }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    DWORD error_;
    int number_;
};

/// Knows the living blocks of COM's allocator.
class ComMemory final : public gauges::MallocSpy {
public:
    static ComMemory& Watch() {
        static ComMemory& spy = *new ComMemory;
        return spy;
    }
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
    ComMemory() = default;

    std::set<void*> living_;
};

bool g_watchesCom = false;

std::size_t LivingGlobals(Books& books) {
    std::erase_if(books.globals, [](HGLOBAL block) { return ::GlobalFlags(block) == GMEM_INVALID_HANDLE; });
    return books.globals.size();
}

std::size_t LivingBitmaps(Books& books) {
    std::erase_if(books.bitmaps, [](HGDIOBJ bitmap) { return ::GetObjectType(bitmap) != OBJ_BITMAP; });
    return books.bitmaps.size();
}

} // namespace

void BlockGiven(void* block, std::size_t bytes) noexcept {
    if (block == nullptr) {
        return;
    }
    const ErrorKeeper keeper;
    Block entry;
    entry.bytes = bytes;
    if (KeepsStacks()) {
        void* frames[24];
        const USHORT count = ::RtlCaptureStackBackTrace(2, static_cast<ULONG>(std::size(frames)), frames, nullptr);
        entry.stack.assign(frames, frames + count);
    }
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    entry.serial = ++books.serial;
    books.blocks[block] = std::move(entry);
}

void BlockTaken(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    const ErrorKeeper keeper;
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    books.blocks.erase(block);
}

void GlobalGiven(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    const ErrorKeeper keeper;
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    books.globals.insert(block);
}

void BitmapGiven(void* bitmap) noexcept {
    if (bitmap == nullptr) {
        return;
    }
    const ErrorKeeper keeper;
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    books.bitmaps.insert(bitmap);
}

std::int64_t* BalanceOf(const char* name) {
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    std::unique_ptr<std::int64_t>& balance = books.balances[name];
    if (!balance) {
        balance = std::make_unique<std::int64_t>(0);
    }
    return balance.get();
}

void WatchComMemory() {
    // The cache of freed texts would look like a leak.
    using NoCache = void(WINAPI*)();
    if (const HMODULE automation = ::GetModuleHandleW(L"oleaut32.dll")) {
        if (const auto noCache =
                reinterpret_cast<NoCache>(reinterpret_cast<void*>(::GetProcAddress(automation, "SetOaNoCache")))) {
            noCache();
        }
    }
    ComMemory::Watch();
    g_watchesCom = true;
}

Holdings TakeHoldings() {
    Holdings holdings;
    const auto note = [&holdings](const std::string& name, std::size_t count) {
        if (count != 0) {
            holdings.counts[name] = count;
        }
    };
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    note("heap blocks", books.blocks.size());
    note("global blocks", LivingGlobals(books));
    note("bitmaps", LivingBitmaps(books));
    note("COM blocks", g_watchesCom ? ComMemory::Watch().Living() : 0);
    for (const auto& [name, balance] : books.balances) {
        note(name, static_cast<std::size_t>(*balance));
    }
    return holdings;
}

std::vector<std::string> GrowthOf(const Holdings& before, const Holdings& now,
                                  const std::pair<Holdings, Holdings>& usual) {
    const auto countIn = [](const Holdings& holdings, const std::string& name) {
        const auto found = holdings.counts.find(name);
        return found != holdings.counts.end() ? found->second : 0;
    };
    std::vector<std::string> lines;
    for (const auto& [name, count] : now.counts) {
        const std::size_t was = countIn(before, name);
        const std::size_t first = countIn(usual.first, name);
        const std::size_t second = countIn(usual.second, name);
        if (count > was + (second > first ? second - first : 0)) {
            std::ostringstream line;
            line << "leak: " << name << ' ' << was << " -> " << count;
            lines.push_back(line.str());
        }
    }
    return lines;
}

std::size_t MarkBlocks() {
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    return books.serial;
}

std::vector<std::string> BlocksSince(std::size_t mark) {
    std::vector<std::string> lines;
    Books& books = TheBooks();
    const std::scoped_lock lock(books.lock);
    for (const auto& [address, block] : books.blocks) {
        if (block.serial > mark) {
            lines.push_back(std::to_string(block.bytes) + " bytes from" + DescribeStack(block.stack));
        }
    }
    return lines;
}

} // namespace faults
