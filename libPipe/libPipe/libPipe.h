// The pipe library in one include: the public face, the message layout and, for programs that
// build their own links, the classes underneath.
//
// Two processes use the same two FIFO paths crosswise. Each gets its half of the library from
// CLibPipeConnectionCreator, adds a connector, and sends and receives 512-byte messages.
#pragma once

#include "CLibPipeClient.h"
#include "CLibPipeServer.h"
#include "CPipeClient.h"
#include "CPipeConnector.h"
#include "CPipeServer.h"
#include "CPipeWrapper.h"
#include "CSemaphoreHelper.h"
#include "_MSG_DATA_PACKAGE.h"
#include "__MSG_MAPPING__.h"
#include "libPipeWrapper.h"
