/// @file
/// Stand-in for the system's header: access control lists, as far as they are read.
#pragma once

typedef enum {
  ACL_WRITE_DATA = 1 << 2,
  ACL_DELETE = 1 << 4,
  ACL_APPEND_DATA = 1 << 5,
  ACL_DELETE_CHILD = 1 << 6,
  ACL_WRITE_ATTRIBUTES = 1 << 8,
  ACL_WRITE_EXTATTRIBUTES = 1 << 10,
  ACL_WRITE_SECURITY = 1 << 12,
  ACL_CHANGE_OWNER = 1 << 13
} acl_perm_t;

typedef enum { ACL_UNDEFINED_TAG = 0, ACL_EXTENDED_ALLOW = 1, ACL_EXTENDED_DENY = 2 } acl_tag_t;

typedef enum { ACL_TYPE_EXTENDED = 0x00000100 } acl_type_t;

typedef enum { ACL_FIRST_ENTRY = 0, ACL_NEXT_ENTRY = -1 } acl_entry_id_t;

typedef struct _acl* acl_t;
typedef struct _acl_entry* acl_entry_t;
typedef struct _acl_permset* acl_permset_t;

#ifdef __cplusplus
extern "C" {
#endif

acl_t acl_get_fd_np(int file, acl_type_t type);
/// 0 for an entry, -1 after the last.
int acl_get_entry(acl_t list, int which, acl_entry_t* entry);
int acl_get_tag_type(acl_entry_t entry, acl_tag_t* kind);
int acl_get_permset(acl_entry_t entry, acl_permset_t* permissions);
int acl_get_perm_np(acl_permset_t permissions, acl_perm_t permission);
int acl_free(void* object);

#ifdef __cplusplus
}
#endif
