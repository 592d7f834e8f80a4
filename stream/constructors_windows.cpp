// Like message/constructors_windows.cpp, for the stream classes.
#include <new>

#include "include/zelstream.h"

// The compiler finds this convention odd outside classes, and ignores it in 64 bits, where there is one only.
#pragma GCC diagnostic ignored "-Wattributes"

extern "C" {

LogicOperator* __thiscall ConstructLogicOperator(LogicOperator* self) noexcept {
    return new (self) LogicOperator;
}

LogicOperator* __thiscall CopyLogicOperator(LogicOperator* self, const LogicOperator& source) noexcept {
    return new (self) LogicOperator(source);
}

FilterValue* __thiscall ConstructFilterValue(FilterValue* self) noexcept {
    return new (self) FilterValue;
}

FilterValue* __thiscall CopyFilterValue(FilterValue* self, const FilterValue& source) noexcept {
    return new (self) FilterValue(source);
}

ZELFilterItem* __thiscall ConstructZELFilterItem(ZELFilterItem* self) noexcept {
    return new (self) ZELFilterItem;
}

ZELFilterItem* __thiscall CopyZELFilterItem(ZELFilterItem* self, const ZELFilterItem& source) noexcept {
    return new (self) ZELFilterItem(source);
}

ZELFilter* __thiscall ConstructZELFilter(ZELFilter* self) noexcept {
    return new (self) ZELFilter;
}

ZELFilter* __thiscall CopyZELFilter(ZELFilter* self, const ZELFilter& source) noexcept {
    return new (self) ZELFilter(source);
}

ZELSortData* __thiscall CopyZELSortData(ZELSortData* self, const ZELSortData& source) noexcept {
    return new (self) ZELSortData(source);
}

}  // extern "C"
