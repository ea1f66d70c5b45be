# SPDX-License-Identifier: MIT
@0xd5a6b0a3c1f7e942;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("peers::capn");

struct Id {
  high @0 :UInt64;
  low @1 :UInt64;
}

struct Parameter {
  name @0 :Text;
  type @1 :Int32;
  value @2 :Float64;
  listIndex @3 :Int32;
  category @4 :Id;
  owner @5 :Id;
  expression @6 :Text;
  description @7 :Text;
}

struct Category {
  name @0 :Text;
  group @1 :Id;
  parameters @2 :List(Id);
}

struct Picture {
  data @0 :Data;
  camera @1 :List(Float64);
}

struct Entry {
  id @0 :Id;
  union {
    parameter @1 :Parameter;
    category @2 :Category;
    picture @3 :Picture;
  }
}

struct Template {
  entries @0 :List(Entry);
}
