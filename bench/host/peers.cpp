// SPDX-License-Identifier: MIT
#include "../peers/mirror.h"
#include "../peers/model.h"
#include "../report.h"
#include "hostcase.h"
#include "process.h"

#include <oktdatabase/oktdbpool.h>

#include <fstream>

namespace
{
/// As a program reads a file that it hands to one of these: as a whole, into memory of the right size.
std::string bytesIn(std::string const &path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    demand(!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())).fail(), "reading a file of a peer");
    return bytes;
}

std::string fileOf(peers::Peer const &peer, std::string const &path)
{
    return path + "." + std::to_string(peer.name[0]) + std::to_string(peer.name[1]);
}

HostFigures readFileOf(peers::Peer const &peer, int count, std::string const &path)
{
    auto *const objects = new peers::Objects;
    HostFigures const figures = measureFirst([&] {
        if (peer.loadFile != nullptr)
            *objects = peer.loadFile(fileOf(peer, path));
        else
            *objects = peer.load(bytesIn(fileOf(peer, path)));
    });
    demand(static_cast<int>(objects->size()) >= count, peer.name);
    return figures;
}

HostFigures readCereal(int count, std::string const &path) { return readFileOf(peers::kCereal, count, path); }
HostFigures readBoost(int count, std::string const &path) { return readFileOf(peers::kBoost, count, path); }
HostFigures readProtobuf(int count, std::string const &path) { return readFileOf(peers::kProtobuf, count, path); }
HostFigures readFlatBuffers(int count, std::string const &path) { return readFileOf(peers::kFlatBuffers, count, path); }
HostFigures readCapnProto(int count, std::string const &path) { return readFileOf(peers::kCapnProto, count, path); }
} // namespace

std::vector<HostCase> peerHostCases()
{
    return {{"read-file-cereal", readCereal},
            {"read-file-boost", readBoost},
            {"read-file-protobuf", readProtobuf},
            {"read-file-flatbuffers", readFlatBuffers},
            {"read-file-capnproto", readCapnProto}};
}

void writePeerFiles(std::string const &path)
{
    OKTDbPool pool;
    demand(pool.readFile(CString::FromUtf8(path)), "reading a file");
    peers::Objects const objects = peers::mirrorOf(pool);
    for (peers::Peer const *const peer :
         {&peers::kCereal, &peers::kBoost, &peers::kProtobuf, &peers::kFlatBuffers, &peers::kCapnProto})
    {
        std::string const image = peer->save(objects);
        std::ofstream(fileOf(*peer, path), std::ios::binary).write(image.data(), static_cast<std::streamsize>(image.size()));
    }
}
