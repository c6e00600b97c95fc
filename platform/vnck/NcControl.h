#pragma once

#include "CtlServer.h"

class VirtualNc;

// The "nc" commands of the control socket, run against one virtual NC:
//   get PATH                      value, an array or range one element per line
//   set PATH VALUE                any variable; a range takes VALUE as "a,b,c"
//   program [select NCPATH|start|stop|reset|end]
//   mode jog|mda|auto
//   alarm raise ID TEXT [--kind K] [--channel] | alarm clear ID | alarm list
//   usb mount|unmount NAME | usb list
//   activate-def NCPATH... [--mode M]
//   fault OP PATTERN [--code CODE] [--delay MS] [--times N] | fault clear | fault list
// Exit codes: 0 done, 1 the NC refused, 2 the command is malformed.
class NcControl
{
public:
    static CtlResult run(VirtualNc& nc, const QStringList& args);
    static QString usage();
};
