// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/imageof.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

// Memory that runs out and disks that fail while a file is put in place: whatever the fault, the old file is there whole, or the new
// one, and after the next save nothing else.

namespace
{
namespace fs = std::filesystem;

std::set<std::string> namesIn(ScratchFolder const &folder)
{
    std::set<std::string> names;
    for (fs::directory_entry const &entry : fs::directory_iterator(pathOf(folder.path(""))))
        names.insert(entry.path().filename().string());
    return names;
}

bool isThere(ScratchFolder const &folder, char const *name) { return namesIn(folder).contains(name); }

void saveUnderFaults(char const *name, bool replaces, PoolSize size, std::size_t most)
{
    ScratchFolder const folder;
    AllClassesPool source(size);
    CString const path = folder.path("pool.okt");
    ASSERT_TRUE(source.pool().writeFile(path));
    CByteArray const whole = contentsOf(path);
    OKTDbPool smaller;
    fillWithParameters(smaller, 20);
    ASSERT_TRUE(smaller.writeFile(path));
    CByteArray const before = contentsOf(path);
    OktSaveRefusal why;
    auto const clear = [&] {
        for (std::string const &file : namesIn(folder))
            fs::remove(pathOf(folder.path(file)));
        if (replaces)
            folder.put("pool.okt", before);
    };
    forEveryFault({
        .name = name,
        .prepare =
            [&] {
                clear();
                why = {};
            },
        .perform = [&] { OktSaveDurably(source.pool(), path, &why); },
        .judge = [&](bool struck) -> std::string {
            using Status = OktSaveStatus;
            bool const hasFile = isThere(folder, "pool.okt");
            bool const isNew = hasFile && contentsOf(path) == whole;
            bool const isOld = replaces ? hasFile && contentsOf(path) == before : !hasFile;
            std::string wrong;
            if (why.status == Status::Saved && !isNew)
                wrong = "saved, and the file is not the pool's";
            else if (why.status == Status::NotFlushed && !isNew)
                wrong = "not flushed, and the file is not the pool's";
            else if (why.status != Status::Saved && why.status != Status::NotFlushed && !isOld)
                wrong = "refused, and the file is not the old one";
            else if (why.status != Status::Saved && !struck)
                wrong = "refused without cause";
            // What could not be removed, because that was the call that failed, goes with the next save.
            if (why.status != Status::Saved && !isFileFault() && namesIn(folder).size() != (replaces ? 1u : 0u))
                wrong = firstOf(wrong, std::string("something is left beside the file"));
            if (OktSaveDurably(source.pool(), path) != Status::Saved || contentsOf(path) != whole)
                wrong = firstOf(wrong, std::string("with memory back, the file is not saved"));
            if (namesIn(folder) != std::set<std::string>{"pool.okt"})
                wrong = firstOf(wrong, std::string("the next save leaves something beside the file"));
            return wrong;
        },
        .usesFiles = true,
        .pool = [&] { return &source.pool(); },
        .most = most,
    });
}
} // namespace

TEST(ShortageDurable, Save_OverAFileAndEveryFault_OldOrNew)
{
    saveUnderFaults("OktSaveDurably over a file", true, PoolSize::Small, 0);
}

TEST(ShortageDurable, Save_NewFileAndEveryFault_NoneOrNew)
{
    saveUnderFaults("OktSaveDurably of a new file", false, PoolSize::Small, 0);
}

TEST(ShortageDurable, Save_LargePoolAndFaultsAllOver_OldOrNew)
{
    saveUnderFaults("OktSaveDurably of a large pool", true, PoolSize::Large, 10);
}

// The one thing left behind by a fault is the part that could not be removed.
TEST(ShortageDurable, CommitTogether_EveryFault_AllOldOrAllNew)
{
    ScratchFolder const folder;
    auto const bytesOf = [](char const *text) {
        CByteArray bytes;
        for (; *text != '\0'; ++text)
            bytes.Add(static_cast<BYTE>(*text));
        return bytes;
    };
    CByteArray const oldOnes = bytesOf("old");
    CByteArray const newOnes = bytesOf("the new one");
    CString const paths[] = {folder.path("a"), folder.path("b"), folder.path("c")};
    OktSaveStatus status = OktSaveStatus::Saved;
    bool isKept = false;
    forEveryFault({
        .name = "commitTogether",
        .prepare =
            [&] {
                for (std::string const &file : namesIn(folder))
                    fs::remove(pathOf(folder.path(file)));
                folder.put("a", oldOnes);
                folder.put("c", oldOnes);
                status = OktSaveStatus::Saved;
                isKept = false;
            },
        .perform =
            [&] {
                OktFileReplacement files[3];
                OktFileReplacement *all[3];
                for (int i = 0; i < 3 && status == OktSaveStatus::Saved; ++i)
                {
                    all[i] = &files[i];
                    if (!files[i].begin(paths[i]) ||
                        !files[i].write(newOnes.GetData(), static_cast<std::size_t>(newOnes.GetSize())))
                        status = files[i].refusal().status;
                }
                if (status != OktSaveStatus::Saved)
                    return;
                if (OktFileReplacement const *const failed = OktFileReplacement::commitTogether(all, 3))
                    status = failed->refusal().status;
                isKept = files[0].isOldKept() || files[1].isOldKept();
            },
        .judge = [&](bool struck) -> std::string {
            auto const is = [&](char const *name, CByteArray const &bytes) {
                return isThere(folder, name) && contentsOf(folder.path(name)) == bytes;
            };
            bool const areNew = is("a", newOnes) && is("b", newOnes) && is("c", newOnes);
            bool const areOld = is("a", oldOnes) && !isThere(folder, "b") && is("c", oldOnes);
            bool const isDone = status == OktSaveStatus::Saved || status == OktSaveStatus::NotFlushed;
            if (isDone ? !areNew : !areOld && !isKept)
                return isDone ? "done, and not all are new" : "refused, and not all are old";
            return status == OktSaveStatus::Saved || struck ? "" : "refused without cause";
        },
        .usesFiles = true,
    });
}
