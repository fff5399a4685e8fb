#pragma once

/// Who has to release something that the host made.
enum class Owner {
    Host,
    Plugin,
    Element, ///< the host, unless a plug-in takes the element of an array that it is out of it
};
