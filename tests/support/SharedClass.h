//! @file
//! What every shared class keeps of its base: which operations it has of its own, checked when the
//! test is compiled, and its slots.
#pragma once

#include "ktstd/ktstd_TShared.h"

#include <iosfwd>
#include <type_traits>

namespace kt_test {

//! True when a class keeps all operations that shared classes inherit unchanged.
template <class Class>
constexpr bool keepsInheritedOperations = std::is_base_of_v<ktstd_TShared, Class>&&
    std::is_same_v<decltype(&Class::This), Hnd_ktstd_Transient (ktstd_Transient::*)() const>&&
        std::is_same_v<decltype(&Class::Delete), void (ktstd_TShared::*)() const>&&
            std::is_same_v<decltype(&Class::PersistentIdx), short (ktstd_Transient::*)() const>&&
                std::is_same_v<decltype(&Class::HashCode), long (ktstd_Transient::*)(long) const>&&
                    std::is_same_v<decltype(&Class::ShallowDump),
                                   void (ktstd_Transient::*)(std::ostream&) const>;

//! True when a class has type information of its own.
template <class Class>
constexpr bool hasOwnType = std::is_same_v<decltype(&Class::DynamicType),
                                           const Hnd_ktstd_Type& (Class::*)() const>&&
    std::is_same_v<decltype(&Class::IsKind), unsigned char (Class::*)(const Hnd_ktstd_Type&) const>;

//! True when a class has no record of its own.
template <class Class>
constexpr bool keepsInheritedRecord =
    std::is_same_v<decltype(&Class::Serialize), void (ktstd_TShared::*)(ktstd_Archive&)>;

} // namespace kt_test
