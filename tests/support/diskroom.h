// SPDX-License-Identifier: MIT
#pragma once

/// While one lives, the disk has no room to reserve for this process: the system's call that does it answers with that error. It
/// counts what it was asked. One at a time; not where the system has no such call.
class NoDiskRoom
{
public:
    explicit NoDiskRoom(int error);
    NoDiskRoom(NoDiskRoom const &) = delete;
    NoDiskRoom &operator=(NoDiskRoom const &) = delete;
    ~NoDiskRoom();

    static int asked();
    /// For the call itself: counts it, and gives the error that it has to answer; 0: none.
    static int ask();
};
