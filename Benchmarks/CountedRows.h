// A tree's data source that does nothing but count: one folder with a given number of equal rows.
// What a tree costs with it is what the platform's own row handling costs. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface CountedRows : NSObject {
    NSMutableArray *_items;
}

- (id)initWithCount:(NSUInteger)count;

@end
