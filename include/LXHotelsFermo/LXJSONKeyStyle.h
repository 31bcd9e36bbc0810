#pragma once

// How record keys appear in JSON text: as the field names stand ("numberOfRooms")
// or in snake case ("number_of_rooms"), the form the service uses.
enum class LXJSONKeyStyle { fieldNames, snakeCase };
