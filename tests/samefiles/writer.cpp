// SPDX-License-Identifier: MIT
// Writes pool files into the folder that it is given: templates of the example tables and random pools of every class, as files,
// as clones with new ids, and under other code pages. Equal bytes on every system, since the ids come from a counter here.

#include "support/clientclasses.h"
#include "support/poolmaker.h"

#include <oktdatabase/oktdatabase.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktfile.h>
#include <oktrebar/poolbuilder.h>
#include <oktrebar/templateplan.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace
{
std::uint32_t g_ids = 0;

// Numbers that are scattered like random ones, since an id also gives an object its place in a file.
std::uint32_t scattered(std::uint32_t number)
{
    number = (number ^ (number >> 16)) * 0x45D9F3Bu;
    number = (number ^ (number >> 16)) * 0x45D9F3Bu;
    return number ^ (number >> 16);
}
} // namespace

// In the place of the system's source of ids, by the linker's hand.
#if defined(_WIN32)
static HRESULT WINAPI nextId(GUID *guid);

extern "C" decltype(&CoCreateGuid) const __wrap___imp_CoCreateGuid = nextId;

static HRESULT WINAPI nextId(GUID *guid)
#else
extern "C" HRESULT nextId(GUID *guid) __asm__("__wrap__Z12CoCreateGuidP5_GUID");

HRESULT nextId(GUID *guid)
#endif
{
    ++g_ids;
    *guid = GUID{};
    guid->Data1 = scattered(g_ids);
    guid->Data2 = static_cast<std::uint16_t>(scattered(g_ids + 0x10000000u));
    guid->Data3 = static_cast<std::uint16_t>(0x4000u | (g_ids & 0xFFFu));
    guid->Data4[0] = 0x80;
    for (int i = 0; i < 4; ++i)
        guid->Data4[4 + i] = static_cast<unsigned char>(g_ids >> (8 * i));
    return S_OK;
}

namespace
{
namespace fs = std::filesystem;

class Writer
{
public:
    explicit Writer(std::string folder) : m_folder(std::move(folder)) {}

    void write(OKTDbPool &pool, std::string const &name)
    {
        m_good = pool.writeFile(CString::FromUtf8(m_folder + "/" + name)) && m_good;
        ++m_count;
    }

    void writeBytes(CByteArray const &bytes, std::string const &name)
    {
        CFile file;
        m_good = file.Open(CString::FromUtf8(m_folder + "/" + name), CFile::modeCreate | CFile::modeWrite) && m_good;
        if (m_good)
            file.Write(bytes.GetData(), static_cast<UINT>(bytes.GetSize()));
        ++m_count;
    }

    bool isGood() const { return m_good; }
    int count() const { return m_count; }

private:
    std::string m_folder;
    bool m_good = true;
    int m_count = 0;
};

/// What stands in place of the preview, which each system draws in its own way.
CByteArray pictureOf(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<BYTE>(i * 7 + i / 251);
    return bytes;
}

void writeTemplates(Writer &writer, okt::Plans const &plans)
{
    for (okt::TemplatePlan const &plan : plans.templates)
    {
        std::unique_ptr<OKTDbPool> const pool = okt::buildPool(plan);
        IdArray const &pictures = pool->picturesId();
        for (int i = 0; i < pictures.getSize(); ++i)
            OKTDbPicture::cast(pictures.at(i))->setPictureData(pictureOf(70000));
        writer.write(*pool, plan.fileName);
    }
}

void writeAllTemplates(Writer &writer)
{
    fs::path const data = OKT_EXAMPLES_DIR "/data";
    okt::BendRules const rules = okt::BendRules::load(data / "bend-rules.csv");
    writeTemplates(writer, okt::metricPlans(okt::BarTable::load(data / "bars-en10080.csv"),
                                            okt::SchedulingBends::load(data / "bends-bs8666.csv"), rules,
                                            okt::ShapeLengths::load(data / "shape-lengths-bs8666.csv")));
    writeTemplates(writer, okt::inchPlans(okt::BarTable::load(data / "bars-astm-a615.csv"), rules));
}

void writeRandomPools(Writer &writer)
{
    constexpr double kFactors[] = {1.0, 1000.0, 0.5};
    for (unsigned int seed = 0; seed < 120; ++seed)
    {
        std::string const name = "random-" + std::to_string(seed);
        // The names of classes and the texts of pictures go through the code page of the thread.
        OktSetThreadCodePage(seed % 4 == 1 ? 65001u : seed % 4 == 3 ? 1250u : 1252u);
        OKTDbPool pool;
        fillRandomly(pool, seed, kFactors[seed % 3]);
        writer.write(pool, name + ".okt");
        pool.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(pool.clone());
        pool.setBoolTranslatedIds(false);
        writer.write(clone == nullptr ? pool : *clone, name + "-clone.okt");
        CByteArray image;
        IdMap translated;
        pool.saveFiler(image, translated);
        writer.writeBytes(image, name + ".image");
    }
    OktSetThreadCodePage(1252);
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: okt_same_files FOLDER\n");
        return 2;
    }
    testing::InitGoogleTest(); // the maker of random pools expects what it does
    ClientClasses const classes;
    Writer writer(argv[1]);
    writeAllTemplates(writer);
    writeRandomPools(writer);
    std::printf("%d files, %lu ids\n", writer.count(), static_cast<unsigned long>(g_ids));
    return writer.isGood() && !testing::Test::HasFailure() && g_ids > 1000 ? 0 : 1;
}
