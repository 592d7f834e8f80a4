# The order of bench/order.h.
@0xbf5147cbbecf40c1;
using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("zel::bench::cap");

struct Money {
  amount @0 :Int32;
  displayCode @1 :Int16;
}

struct Allocation {
  kind @0 :Int16;
  account @1 :Text;
  capacity @2 :Int16;
  quantity @3 :Int32;
  fee @4 :Money;
}

struct Order {
  text0 @0 :Text;
  text1 @1 :Text;
  text2 @2 :Text;
  text3 @3 :Text;
  text4 @4 :Text;
  text5 @5 :Text;
  text6 @6 :Text;
  text7 @7 :Text;
  side @8 :Int16;
  timeInForce @9 :Int16;
  quantity @10 :Int32;
  shownQuantity @11 :Int32;
  limitPrice @12 :Money;
  stopPrice @13 :Money;
  enteredAt @14 :UInt64;
  expiresAt @15 :UInt64;
  targetYield @16 :Float64;
  commissionRate @17 :Float32;
  token @18 :Data;
  allocationCount @19 :Int16;
  allocations @20 :List(Allocation);
}
