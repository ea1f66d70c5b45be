// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <oktplatform/oktreplacefile.h>

#include <cstddef>

class OKTDbPool;

// Saving over the only copy. OKTDbPool::writeFile cuts the file and writes it anew, so that a full disk or the end of the process
// in the middle leaves a part. These leave the old file or the new one, whole; OktFileReplacement tells how, and what is kept.
//
//     OktSaveRefusal why;
//     if (OktSaveDurably(pool, path, &why) != OktSaveStatus::Saved)
//         tell(why.status, why.systemError);

/// The image that OKTDbPool::writeFile writes: as saveFiler makes it, but with the factor 1.0, whatever unit is drawn in. False:
/// the pool makes no image; `image` is empty then.
OKT_API bool OktMakeFileImage(OKTDbPool &pool, CByteArray &image);
/// Adds the objects of a file's image as OKTDbPool::readFile does: the pool keeps its metrics factor.
OKT_API bool OktReadFileImage(OKTDbPool &pool, CByteArray const &image);

/// Saves the pool to the file. The image is complete before anything is touched. The answer stands in `why`, too, with the error
/// number of the system where that was the reason. No exception leaves it; want of memory is a refusal.
OKT_API OktSaveStatus OktSaveDurably(OKTDbPool &pool, CString const &path, OktSaveRefusal *why = nullptr);
/// The same with bytes that are ready.
OKT_API OktSaveStatus OktSaveDurably(CByteArray const &bytes, CString const &path, OktSaveRefusal *why = nullptr);
/// More than 2^31 - 1 bytes, which no pool file has, are TooLarge.
OKT_API OktSaveStatus OktSaveDurably(void const *bytes, std::size_t count, CString const &path, OktSaveRefusal *why = nullptr);
