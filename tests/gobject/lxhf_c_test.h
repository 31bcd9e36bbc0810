#pragma once

/* What the C API test's files share. */

#include <lxhf/lxhf.h>

/* A room as a host writes it; the fields that vary between cases are
   arguments. user_id_member is a whole member, e.g. "\"userId\":\"u-1\",". */
char* room_json(const char* user_id_member, const char* room_id, const char* name, const char* ext_attributes);
LxhfRoomDetails* room_new(const char* user_id_member, const char* room_id, const char* name,
                          const char* ext_attributes);

/* Configures the library and points it at `lxfermo sim`'s service, or at a
   closed local port when run without it. */
void start_library(void);
void stop_library(void);
void test_offer_from_service(void);
void test_dropped_instances(void);
