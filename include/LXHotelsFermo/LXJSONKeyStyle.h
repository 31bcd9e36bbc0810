#pragma once

/// @file
/// How record keys appear in JSON text.

/// How record keys appear in JSON text: as the field names stand ("numberOfRooms")
/// or in snake case ("number_of_rooms"), the form the service uses.
enum class LXJSONKeyStyle { fieldNames, snakeCase };
/// @var LXJSONKeyStyle::fieldNames
/// Keys as the field names stand: "numberOfRooms".
/// @var LXJSONKeyStyle::snakeCase
/// Keys in snake case: "number_of_rooms".
