// A complete host in C99: loads the plug-in, hands it this machine's connected adapters for as long
// as it runs, prints what the plug-in reports, and stops it in order on SIGINT or SIGTERM.
//
//     cc -std=c99 -I ../include host.c -o host -pthread -ldl
//     ./host /usr/lib/x86_64-linux-gnu/pelorin/pelorin.so 22609    # where the recorder serves
#define _GNU_SOURCE // pthread_tryjoin_np
#include <pelorin/plugin.h>

#include <arpa/inet.h>
#include <ctype.h>
#include <dlfcn.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static PelorinIoctl Ioctl;

// Called on three threads, sometimes concurrently. The plug-in waits for it, so a server should
// only queue the record. Do not take a lock here that is held around an entry point.
static void OnRecord(const PelorinHostRequest* request, PelorinHostReply* reply)
{
    (void)reply;
    // Any machine may have sent parts of the text: a terminal must not get its control characters.
    const unsigned char* text = request->data;
    flockfile(stdout);
    for (uint32_t i = 0; i + 1 < request->dataLength; ++i)
        putchar(isprint(text[i]) || text[i] == '\n' ? text[i] : '?');
    fflush(stdout);
    funlockfile(stdout);
}

// The plug-in keeps this thread until it is closed.
static void* Run(void* unused)
{
    PelorinIoctlRequest request = {.code = PELORIN_RUN};
    PelorinIoctlReply reply;
    Ioctl(&request, &reply);
    return unused;
}

// Returns a document that lists the current adapters. The caller frees it.
static char* MakeDocument(const char* port)
{
    char* text;
    size_t size;
    FILE* out = open_memstream(&text, &size);
    struct ifaddrs* list;
    if (!out || getifaddrs(&list) != 0)
        abort();
    fprintf(out, "<Qorm Delta='0'><Servers><Server Port='%s'><Network>", port);
    for (struct ifaddrs* each = list; each; each = each->ifa_next) {
        if (!each->ifa_addr || each->ifa_addr->sa_family != AF_INET ||
            (each->ifa_flags & (IFF_LOOPBACK | IFF_RUNNING)) != IFF_RUNNING)
            continue;
        // "eth0:1" is the label of an address; the device, which the plug-in needs, is eth0.
        char device[IF_NAMESIZE];
        snprintf(device, sizeof(device), "%.*s", (int)strcspn(each->ifa_name, ":"), each->ifa_name);
        if (strpbrk(device, "&<'")) // allowed in a name; in XML they would have to be escaped
            continue;
        unsigned char mac[6] = {0}; // zeros for a device without one, such as a tunnel
        for (struct ifaddrs* link = list; link; link = link->ifa_next) {
            const struct sockaddr_ll* found = (struct sockaddr_ll*)link->ifa_addr;
            if (found && found->sll_family == AF_PACKET && found->sll_halen == sizeof(mac) &&
                strcmp(link->ifa_name, device) == 0)
                memcpy(mac, found->sll_addr, sizeof(mac));
        }
        fprintf(out,
                "<Adapter MACAddress='%02x:%02x:%02x:%02x:%02x:%02x' Handle='%s' IPAddress='%s'"
                " Connected='1'/>",
                mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], device,
                inet_ntoa(((struct sockaddr_in*)each->ifa_addr)->sin_addr));
        // Not an adapter: the plug-in skips it. Its handle, the device's number, tells the plug-in
        // that the device was deleted and created again, so that it opens its sockets anew.
        fprintf(out, "<Adapter MACAddress='-' Handle='%u' IPAddress='0.0.0.0' Connected='1'/>",
                if_nametoindex(device));
    }
    fputs("</Network></Server></Servers></Qorm>", out);
    freeifaddrs(list);
    fclose(out);
    return text;
}

// Hands over the current adapters repeatedly until a signal arrives. The plug-in misses a document
// while its thread starts or acts on the previous one, and ignores one that changes nothing.
static void HandOver(const char* port, const sigset_t* signals)
{
    do {
        char* text = MakeDocument(port);
        PelorinIoctlRequest request = {.code = PELORIN_APPLY, .dataLength = -1, .data = text};
        PelorinIoctlReply reply;
        Ioctl(&request, &reply);
        free(text);
    } while (sigtimedwait(signals, NULL, &(struct timespec){0, 500000000}) < 0);
}

// Copies the pointer, because ISO C cannot convert an object pointer to a function pointer.
static void (*Find(void* library, const char* name))(void)
{
    void (*function)(void);
    void* symbol = library ? dlsym(library, name) : NULL;
    if (!symbol) {
        const char* error = dlerror();
        fprintf(stderr, "host: %s\n", error ? error : "usage: host PLUGIN PORT");
        exit(2);
    }
    memcpy(&function, &symbol, sizeof(function));
    return function;
}

int main(int argc, char** argv)
{
    // A path without a slash would be searched for in the system's folders.
    void* library = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    const PelorinLoad load = (PelorinLoad)Find(library, PELORIN_LOAD_NAME);
    const PelorinOpen open = (PelorinOpen)Find(library, PELORIN_OPEN_NAME);
    const PelorinClose close = (PelorinClose)Find(library, PELORIN_CLOSE_NAME);
    const PelorinUnload unload = (PelorinUnload)Find(library, PELORIN_UNLOAD_NAME);
    Ioctl = (PelorinIoctl)Find(library, PELORIN_IOCTL_NAME);

    // Blocked before the first thread is created: all threads inherit it.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, NULL);
    const PelorinLoadRequest request = {.callback = OnRecord};
    PelorinLoadReply descriptor;
    PelorinOpenReply opened;
    PelorinStatusReply reply;
    pthread_t lent;
    load(&request, &descriptor);
    open(NULL, &opened);
    if (pthread_create(&lent, NULL, Run, NULL) != 0)
        abort();
    HandOver(argv[2], &signals);

    // Repeated, because the run may miss a Close. The run must end before the library is unloaded.
    do {
        close(NULL, &reply);
        nanosleep(&(struct timespec){0, 10000000}, NULL);
    } while (pthread_tryjoin_np(lent, NULL) != 0);
    unload(NULL, &reply);
    dlclose(library);
    return 0;
}
