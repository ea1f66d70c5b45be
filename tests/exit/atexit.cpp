// SPDX-License-Identifier: MIT
// exit.save_in_page_N: saves and loads a pool from the destructor of a static object, when what the thread kept for itself has
// ended already. The image must be the one that main saved, and nothing may touch the memory that the thread gave back.

#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktcodepage.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace
{
bool g_threadEnded = false;

struct ThreadEnd
{
    ~ThreadEnd() { g_threadEnded = true; }
};

thread_local ThreadEnd t_end;

/// Memory of every small size, filled with ones: where a thread's buffer was, one of these blocks lies now.
class Blocks
{
public:
    Blocks()
    {
        for (std::size_t size = 16; size <= 4096; size += 16)
            for (int i = 0; i < 10; ++i)
                m_blocks.emplace_back(size, static_cast<unsigned char>(0xFF));
    }
    bool areUntouched() const
    {
        return std::all_of(m_blocks.begin(), m_blocks.end(), [](std::vector<unsigned char> const &block) {
            return std::all_of(block.begin(), block.end(), [](unsigned char byte) { return byte == 0xFF; });
        });
    }

private:
    std::vector<std::vector<unsigned char>> m_blocks;
};

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

class Host
{
public:
    void fill()
    {
        m_pool = std::make_unique<OKTDbPool>();
        m_pool->setPoolName(u"kept until the end");
        auto *const category = new OKTDbCategory;
        require(m_pool->appendObject(category), "the category is appended");
        category->setCategoryName(u"Maße");
        IdArray ids;
        for (int i = 0; i < 20; ++i)
        {
            auto *const parameter = new OKTDbParameter(6, m_pool->objectId());
            require(m_pool->appendObject(parameter), "the parameter is appended");
            parameter->setUserName(u"Länge", true);
            parameter->setValue(u"2 x Ø 12", i);
            parameter->setTabParams(ids);
            ids.append(parameter->objectId());
            category->appendParameter(parameter->objectId());
        }
        auto *const picture = new OKTDbPicture;
        CByteArray data;
        data.SetSize(100000);
        picture->setPictureData(data);
        require(m_pool->appendObject(picture), "the picture is appended");
        m_image = save();
    }

    ~Host()
    {
#if !defined(__MINGW32__) // where they end when the process's last thread is told to
        require(g_threadEnded, "the objects of the thread have ended");
#endif
        Blocks const blocks;
        require(same(save(), m_image), "the last image is the one of before");
        OKTDbPool loaded;
        require(loaded.loadFiler(m_image), "the image is loaded");
        require(loaded.objectCount() == 22, "the objects come back");
        CByteArray again;
        IdMap translated;
        require(loaded.saveFiler(again, translated) && same(again, m_image), "and are saved again");
        loaded.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(loaded.clone());
        require(clone != nullptr && clone->objectCount() == 22, "a clone gets new ids");
        CString const text("Ma\xDF"
                           "e");
        require(text.GetLength() == 4 && text.GetAt(2) == 0xDF, "an 8-bit text is converted");
        require(blocks.areUntouched(), "no foreign memory is written");
    }

private:
    CByteArray save() const
    {
        CByteArray image;
        IdMap translated;
        require(m_pool->saveFiler(image, translated), "the pool is saved");
        return image;
    }

    std::unique_ptr<OKTDbPool> m_pool;
    CByteArray m_image;
};

Host g_host;
} // namespace

int main(int argc, char **argv)
{
    require(argc == 2, "one argument, the code page");
    OktSetThreadCodePage(static_cast<unsigned int>(std::strtoul(argv[1], nullptr, 10)));
    static_cast<void>(&t_end);
    g_host.fill();
    return 0;
}
