/* A module for the loader's tests, written in C against the public header alone. What it offers
   is chosen when it is built:
     PROBE_MENU 0: no menu (a null list); 2 or 3: that many items; 4: items with marks
     PROBE_NO_HANDLER_ENTRY, PROBE_NO_MENU_ENTRY, PROBE_NO_COMMAND_ENTRY: that entry is missing
     PROBE_SAVE 1: only save_volume; 2: save_volume and save_buffer (a save module)
   The probe_ functions let the tests see what the module was given and act through it. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stddef.h>

#include "vexilo3d_module.h"

#define PROBE VEXILO3D_MODULE_EXPORT

static Vexilo3DMessageResult g_callback;
static Vexilo3DModule *g_record;
static int g_last_index = -1, g_commands, g_messages, g_saves;
static unsigned g_keep;

/* every service of the workstation, by name */
static const char *const kServices[] = {
    "GetVexilo3DInfo", "SetMenuItemState", "error_handler", "DisplayVolume", "freedisWin",
    "GetInputVolume", "GetOutputVolume", "VerifyVolumeReallocation", "PrintCoordinates",
    "DisplayProjection", "SetProjectionBuffer", "savetiff", "CreateProjection",
    "RegisterProjectionType", "CreateBuffer", "GetNewVolumeIndex", "GetVolumeIndex",
    "CreateVolumeEx"};

PROBE int probe_service_count(void) { return (int)(sizeof kServices / sizeof kServices[0]); }

/* How many services a module finds by name in the process. */
PROBE int probe_services_found(void) {
    int found = 0;
    size_t i;
    for (i = 0; i < sizeof kServices / sizeof kServices[0]; ++i)
        if (dlsym(RTLD_DEFAULT, kServices[i])) ++found;
    return found;
}

PROBE int probe_last_index(void) { return g_last_index; }
PROBE int probe_commands(void) { return g_commands; }
PROBE int probe_messages(void) { return g_messages; }
PROBE int probe_saves(void) { return g_saves; }
PROBE Vexilo3DModule *probe_record(void) { return g_record; }
/* From now on the handler takes message msg (handled, result 1) and never clears the word. */
PROBE void probe_keep(unsigned msg) { g_keep = msg; }
/* The module clears the word, as it should before returning from messages it does not take. */
PROBE void probe_clear(void) {
    g_keep = 0;
    g_callback(0, 0);
}
PROBE void probe_set_state(Vexilo3DModule *record, int index, unsigned state) {
    SetMenuItemState(record, index, state);
}
PROBE Vexilo3DInfo *probe_info(void) { return GetVexilo3DInfo(); }

#if PROBE_SAVE
PROBE int save_volume(void) {
    ++g_saves;
    return -602;
}
#if PROBE_SAVE == 2
PROBE int save_buffer(Buffer *buffer) {
    g_saves += buffer ? 10 : 0;
    return 0;
}
#endif

#else

#ifndef PROBE_NO_HANDLER_ENTRY
static intptr_t on_message(void *window, unsigned message, uintptr_t wparam, intptr_t lparam) {
    (void)window, (void)wparam, (void)lparam;
    ++g_messages;
    if (g_keep && message == g_keep) g_callback(1, 1);
    return 0;
}
#endif

#ifndef PROBE_NO_COMMAND_ENTRY
static int on_command(int index) {
    g_last_index = index;
    ++g_commands;
    return 0;
}
#endif

#ifdef PROBE_NO_MENU_ENTRY
#elif PROBE_MENU == 2
static const char *const kMenu[] = {"One", "Two", NULL, "Two Items"};
#elif PROBE_MENU == 3
static const char *const kMenu[] = {"Uno", "Dos", "Tres", NULL, "Three Items"};
#elif PROBE_MENU == 4
static const char *const kMenu[] = {"First", "-!Second", "Third", "!Fourth", "-Fifth", NULL, "Marks"};
#endif

#ifndef PROBE_NO_HANDLER_ENTRY
/* the same handler for the projection windows and the display windows */
PROBE Vexilo3DMessageHandler Vexilo3DDLLReturnMessageHandler(Vexilo3DMessageResult callback) {
    g_callback = callback;
    return on_message;
}
#endif

#ifndef PROBE_NO_MENU_ENTRY
PROBE const char *const *Vexilo3DDLLReturnMenu(Vexilo3DModule *record) {
    g_record = record;
#if PROBE_MENU
    return kMenu;
#else
    return NULL;
#endif
}
#endif

#ifndef PROBE_NO_COMMAND_ENTRY
PROBE Vexilo3DCommandHandler Vexilo3DDLLReturnCmdHandler(void) { return on_command; }
#endif

#endif
