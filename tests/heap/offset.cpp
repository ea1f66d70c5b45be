// SPDX-License-Identifier: MIT
// heap.offset: a host whose operator new gives blocks that lie 8 bytes behind a multiple of 16, as one does that keeps a count in
// front of each. What a load makes, and what the host makes itself, must end where it came from.

#include <oktdatabase/oktdatabase.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{
constexpr std::size_t kCount = 8;
long g_blocks = 0;

void require(bool holds, char const *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::fflush(stderr);
    std::_Exit(1);
}

bool same(CByteArray const &left, CByteArray const &right)
{
    return left.GetSize() == right.GetSize() &&
           std::memcmp(left.GetData(), right.GetData(), static_cast<std::size_t>(left.GetSize())) == 0;
}

OKTDbParameter *made(int number)
{
    auto *const parameter = new OKTDbParameter(6, OKTDbObjectId());
    parameter->setUserName(u"Length", true);
    parameter->setValue(u"2 x 12", number);
    return parameter;
}

void *given(std::size_t size) noexcept
{
    auto *const block = static_cast<unsigned char *>(std::malloc(size + kCount));
    if (block == nullptr)
        return nullptr;
    std::memset(block, 0x5A, kCount);
    ++g_blocks;
    return block + kCount;
}

void taken(void *memory) noexcept
{
    if (memory == nullptr)
        return;
    unsigned char *const block = static_cast<unsigned char *>(memory) - kCount;
    for (std::size_t i = 0; i < kCount; ++i)
        require(block[i] == 0x5A, "a block ends where it came from");
    --g_blocks;
    std::free(block);
}
} // namespace

void *operator new(std::size_t size)
{
    if (void *const memory = given(size))
        return memory;
    throw std::bad_alloc();
}

void *operator new(std::size_t size, std::nothrow_t const &) noexcept { return given(size); }

void operator delete(void *memory) noexcept { taken(memory); }

void operator delete(void *memory, std::size_t) noexcept { taken(memory); }

void operator delete(void *memory, std::nothrow_t const &) noexcept { taken(memory); }

int main()
{
    constexpr int kParameters = 4000;
    OKTDbPool pool;
    for (int i = 0; i < kParameters; ++i)
        require(pool.appendObject(made(i)), "a parameter is taken");
    CByteArray image;
    IdMap translated;
    require(pool.saveFiler(image, translated), "the pool is saved");
    for (int round = 0; round < 3; ++round)
    {
        OKTDbPool loaded;
        require(loaded.loadFiler(image), "the image is loaded");
        require(loaded.objectCount() == kParameters, "all parameters are there");
        CByteArray again;
        require(loaded.saveFiler(again, translated) && same(again, image), "the same image");
        OKTDbObjectId const id = loaded.objectAt(17);
        OKTDbObject *object = nullptr;
        require(loaded.findObject(id, object) && loaded.removeObject(id), "an object is removed");
        require(loaded.appendObject(made(round)), "another one comes");
        require(loaded.eraseAllObjects(), "all are erased");
        delete object;
    }
    require(pool.eraseAllObjects(), "all are erased");
    require(g_blocks >= 0, "no block ends twice");
    return 0;
}
