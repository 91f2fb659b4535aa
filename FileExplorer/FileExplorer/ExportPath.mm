#import "ExportPath.h"

NSString *LocalPathFromVolumePath(NSString *path)
{
    return [path stringByReplacingOccurrencesOfString:@"\\" withString:@"/"];
}

bool PathClimbs(NSString *path)
{
    if ([path rangeOfString:@".." options:NSLiteralSearch].location == NSNotFound)
        return false;
    return [[path componentsSeparatedByString:@"/"] containsObject:@".."];
}
