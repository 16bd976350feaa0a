//! @file
//! Archive record of the typed sequences: the number of elements, then each element.
#pragma once

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Handle.h"

#include <cstdint>
#include <type_traits>

namespace ktmdl_detail {

//! Stores or loads an element: a handle by reference, a value by its own record.
template <class Element>
void SerializeElement(Element& aElement, ktstd_Archive& aArchive)
{
    if constexpr (!std::is_base_of_v<Hnd_ktstd_Transient, Element>) {
        aElement.Serialize(aArchive);
    } else if (aArchive.IsStoring() != 0) {
        aArchive << static_cast<const Hnd_ktstd_Transient&>(aElement);
    } else {
        aArchive >> aElement;
    }
}

//! Stores a sequence, or loads it in the place of what it held. When loading fails, the elements
//! read before stay.
template <class Element, class Sequence>
void SerializeSequence(Sequence& aSequence, ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        const long length = aSequence.Length();
        aArchive.WriteCount(static_cast<unsigned long>(length));
        for (long i = 1; i <= length; ++i) {
            SerializeElement(aSequence.ChangeValue(i), aArchive);
        }
        return;
    }
    aSequence.Clear();
    const auto count = static_cast<std::int32_t>(static_cast<std::uint32_t>(aArchive.ReadCount()));
    Element element;
    for (std::int32_t i = 0; i < count; ++i) {
        SerializeElement(element, aArchive);
        aSequence.Append(element);
    }
}

} // namespace ktmdl_detail
