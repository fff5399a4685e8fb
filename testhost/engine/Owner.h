#pragma once

/// Who has to release something that the host made.
enum class Owner { Host, Plugin };
