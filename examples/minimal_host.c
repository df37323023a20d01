/* The smallest host: loads the module, waits for a panel, asks for its version words and lists its
 * top folder.
 *
 *   minimal_host MODULE ADDRESS
 *   minimal_host "$(pkg-config --variable=module brenholt)" 192.168.0.1
 *
 * Exit codes: 0 done, 1 the panel was not heard or did not answer, 2 the module cannot be used.
 */
#include <brenholt/brenholt.h>
#include <dlfcn.h>
#include <stdio.h>
#include <threads.h>

enum { ATTEMPTS = 3, TIMEOUT_MS = 1000, DIRECT = 0, MAX_ENTRIES = 1000 };

static PanelDirEntry entries[MAX_ENTRIES];

/* Panels announce themselves about once a second. */
static int wait_for_panel(const BrenholtTable* table, const char16_t* address) {
    const struct timespec pause = {0, 100 * 1000 * 1000};
    for (int i = 0; i < 50; ++i) {
        if (table->UseUnit(address)) {
            return 1;
        }
        thrd_sleep(&pause, NULL);
    }
    return 0;
}

static int talk(const BrenholtTable* table, const char* address) {
    char16_t wide[16] = {0};
    for (int i = 0; i < 15 && address[i] != '\0'; ++i) {
        wide[i] = (unsigned char)address[i];
    }
    if (!wait_for_panel(table, wide)) {
        fprintf(stderr, "%s was not heard; does another host run on this machine?\n", address);
        return 1;
    }
    uint16_t a = 0;
    uint16_t b = 0;
    uint16_t c = 0;
    if (!table->CmdVS(&a, &b, &c)) {
        fprintf(stderr, "%s does not answer\n", address);
        return 1;
    }
    printf("%s: %04x %04x %04x\n", address, a, b, c);
    const int count = table->CmdDR(u"", MAX_ENTRIES, entries);
    for (int i = 0; i < count; ++i) {
        const int isFolder = (entries[i].dwAttributes & BRENHOLT_ATTRIBUTE_DIRECTORY) != 0;
        printf("%10u  %s%s\n", (unsigned)entries[i].dwSize, entries[i].szName, isFolder ? "/" : "");
    }
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: minimal_host MODULE ADDRESS\n");
        return 2;
    }
    void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const BrenholtTable* table = module ? dlsym(module, BRENHOLT_TABLE_SYMBOL) : NULL;
    if (table == NULL) {
        fprintf(stderr, "%s\n", dlerror()); /* NOLINT(concurrency-mt-unsafe) */
        return 2;
    }
    int result = 2;
    if (table->Start(ATTEMPTS, TIMEOUT_MS, DIRECT)) {
        result = talk(table, argv[2]);
    } else {
        fprintf(stderr, "the link cannot run\n");
    }
    table->Stop();
    dlclose(module);
    return result;
}
