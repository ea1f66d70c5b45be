// SPDX-License-Identifier: MIT
#include <oktformat/frames.h>

#include <oktformat/objectscan.h>

namespace okt
{

namespace
{

/// The offset of the first record that is not whole.
std::int64_t endOfRecords(ByteSource &source, std::int64_t begin)
{
    RecordWalk walk(source, begin);
    while (walk.next())
        ;
    return walk.position();
}

Frame frameOf(ByteSource &source, Stretch const &stretch)
{
    Frame frame;
    bool const isWhole = stretch.kind == Stretch::Kind::Object;
    frame.offset = static_cast<int>(stretch.begin);
    std::int64_t const end = isWhole                              ? stretch.end
                             : stretch.kind == Stretch::Kind::Cut ? endOfRecords(source, stretch.begin)
                                                                  : stretch.faultAt;
    frame.size = static_cast<int>(end - stretch.begin);
    frame.state = isWhole                              ? Frame::State::Whole
                  : stretch.kind == Stretch::Kind::Cut ? Frame::State::Cut
                                                       : Frame::State::Damaged;
    frame.className = stretch.className();
    for (std::size_t i = 1; i < stretch.classNames.size(); ++i)
        frame.bases.emplace_back(stretch.classNames[i].c_str());
    frame.id = stretch.id;
    return frame;
}

} // namespace

Frame readFrame(CByteArray const &bytes, int offset)
{
    ByteSource source(bytes);
    return frameOf(source, ObjectScan(source, offset).examine(offset));
}

std::vector<Frame> readFrames(CByteArray const &bytes, int offset)
{
    ByteSource source(bytes);
    ObjectScan scan(source, offset);
    std::vector<Frame> frames;
    while (std::optional<Stretch> const stretch = scan.next())
        if (stretch->kind != Stretch::Kind::Gap)
            frames.push_back(frameOf(source, *stretch));
    return frames;
}

} // namespace okt
