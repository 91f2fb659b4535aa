// Compiles as a source of the core.
#import <Foundation/Foundation.h>

NSString *Greeting(void)
{
    return [NSString stringWithFormat:@"%d", 1];
}
