// ZEL in C++20: header-only, over the C headers and zelmessage.h, typed and checked.
//
//   zellayout.hpp      records: a program's own structs to frames and back, for messages that it knows when it is built
//   zelanymessage.hpp  messages of any type, for programs that learn the fields when they run
//   zelframes.hpp      frames in a stream of bytes
//   zelquery.hpp       filters and sort data
//   zelvalue.hpp       money, dates and times, to text and back
//   zelfield.hpp       fields and messages of the dictionary, looked up once
//   zelresult.hpp      results, reports, and the guard that starts the library
//
// What holds for everything here:
//  - Programs link the library and nothing else. Nothing is thrown but what std::string and std::vector throw without
//    memory.
//  - A failure is a value: a code of ZELResult (zelreport.h), the field, an English text, the reports of the call.
//  Error
//    sinks hear the reports as well.
//  - Different objects may be used in different threads at the same time; one object belongs to one thread at a time.
//    Bindings of records never change, and any number of threads may use one.
#ifndef ZEL_ZEL_HPP
#define ZEL_ZEL_HPP

#include "zelanymessage.hpp"
#include "zelfield.hpp"
#include "zelframes.hpp"
#include "zellayout.hpp"
#include "zelquery.hpp"
#include "zelresult.hpp"
#include "zelvalue.hpp"

#endif  // ZEL_ZEL_HPP
