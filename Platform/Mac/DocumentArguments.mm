// The application loop would take the arguments for documents to open, and show an alert for each
// one that names an existing file. They are the volume's texts; a default of the user's own still
// wins.
#import <Foundation/Foundation.h>

@interface VXDocumentArguments : NSObject
@end

@implementation VXDocumentArguments

// Before main, hence before the loop reads it.
+ (void)load
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"NO"
                                                     forKey:@"NSTreatUnknownArgumentsAsOpen"]];
    [pool release];
}

@end
