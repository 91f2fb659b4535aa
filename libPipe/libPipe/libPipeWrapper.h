// The public face of the library: what a program makes, and the two interfaces through which
// it sends and receives.
#pragma once

#include "CLibPipeConnectionCreator.h"
#include "IIPCConnector.h"
#include "IIPCEvent.h"
#include "ILibPipeClient.h"
#include "ILibPipeServer.h"
