/// Which array holds which storage code, and the one place where an index is checked against an area.
#pragma once

#include "driver/driver_object.h"

/// The area of a storage code (a base type); null when it has none of this element type.
unsigned char *bitArea(int storageCode);
unsigned short *wordArea(int storageCode);

inline bool insideArea(qint64 index)
{
    return index >= 0 && index < AreaElements;
}

/// The element at an index, 0 outside the area.
template <class Element>
Element elementAt(const Element *area, qint64 index)
{
    return insideArea(index) ? area[index] : Element(0);
}

/// Sets the element at an index; nothing outside the area.
template <class Element>
void setElement(Element *area, qint64 index, Element value)
{
    if (insideArea(index))
        area[index] = value;
}
