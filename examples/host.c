// A complete host in C99: loads the plug-in, passes it this machine's connected adapters, prints
// what it sends, and stops it on SIGINT or SIGTERM. 22609 below is the server's port.
//
//     cc -std=c99 -I ../include host.c -o host -pthread -ldl
//     ./host /usr/lib/x86_64-linux-gnu/pelorin/pelorin.so 22609
#define _GNU_SOURCE // for pthread_tryjoin_np(3); with -std=c99 also for POSIX and IFF_RUNNING
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

// Called by the threads of main, Run and the plug-in, also concurrently. The plug-in waits, so a
// server should only queue. A lock taken here that is also held around an entry point can deadlock.
static void OnRecord(const PelorinHostRequest* request, PelorinHostReply* reply)
{
    (void)reply;
    // The text can contain control characters from the network, which must not reach a terminal.
    const unsigned char* text = request->data;
    flockfile(stdout);
    for (uint32_t i = 0; i + 1 < request->dataLength; ++i)
        putchar(isprint(text[i]) || text[i] == '\n' ? text[i] : '?');
    fflush(stdout);
    funlockfile(stdout);
}

// The thread that the host lends to the plug-in: the call of Ioctl returns only after Close.
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
        // A name such as "eth0:1" is the label of an address. The plug-in needs the device, eth0.
        char device[IF_NAMESIZE];
        snprintf(device, sizeof(device), "%.*s", (int)strcspn(each->ifa_name, ":"), each->ifa_name);
        if (strpbrk(device, "&<'")) // this example escapes no XML: it skips such a device
            continue;
        unsigned char mac[6] = {0}; // zeros for a device without a MAC address, such as a tunnel
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
        // Not an adapter. If the device is deleted and created again, its new index changes the
        // document, and the plug-in replaces its dead socket.
        fprintf(out, "<Adapter MACAddress='-' Handle='%u' IPAddress='0.0.0.0' Connected='1'/>",
                if_nametoindex(device));
    }
    fputs("</Network></Server></Servers></Qorm>", out);
    freeifaddrs(list);
    fclose(out);
    return text;
}

// Passes the adapters every half second until a signal arrives: they may change, and the plug-in
// misses a document while its run begins or acts on another one. It ignores an unchanged document.
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

// Exits on failure. memcpy: ISO C cannot convert dlsym's object pointer to a function pointer.
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
    // The path needs a slash: without one, dlopen(3) searches the folders of libraries instead.
    void* library = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    const PelorinLoad load = (PelorinLoad)Find(library, PELORIN_LOAD_NAME);
    const PelorinOpen open = (PelorinOpen)Find(library, PELORIN_OPEN_NAME);
    const PelorinClose close = (PelorinClose)Find(library, PELORIN_CLOSE_NAME);
    const PelorinUnload unload = (PelorinUnload)Find(library, PELORIN_UNLOAD_NAME);
    Ioctl = (PelorinIoctl)Find(library, PELORIN_IOCTL_NAME);

    // Threads that are created later inherit this mask, so only HandOver's wait takes the signals.
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

    // Repeated, because the run may miss a Close. The lent thread must end before Unload.
    do {
        close(NULL, &reply);
        nanosleep(&(struct timespec){0, 10000000}, NULL);
    } while (pthread_tryjoin_np(lent, NULL) != 0);
    unload(NULL, &reply);
    dlclose(library);
    return 0;
}
