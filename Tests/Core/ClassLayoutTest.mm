// What programs that are built apart from this one rely on: the classes, their instance variables
// in their order, and the operations under their names.
#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#import "Z5BitLockerFile.h"
#import "Z5FileExplorerWapper.h"
#import "Z5FileManager.h"
#import "Z5FindData.h"

namespace {

using Strings = std::vector<std::string>;

Strings InstanceVariables(Class type)
{
    unsigned count = 0;
    const std::unique_ptr<Ivar, decltype(&free)> variables(class_copyIvarList(type, &count), free);
    Strings names;
    names.reserve(count);
    for (unsigned i = 0; i < count; ++i)
        names.emplace_back(ivar_getName(variables.get()[i]));
    return names;
}

// Those of the names that instances do not answer to.
Strings Unanswered(Class type, const Strings &selectors)
{
    Strings missing;
    for (const std::string &name : selectors) {
        if (![type instancesRespondToSelector:sel_registerName(name.c_str())])
            missing.push_back(name);
    }
    return missing;
}

Strings UnansweredByClass(Class type, const Strings &selectors)
{
    Strings missing;
    for (const std::string &name : selectors) {
        if (![type respondsToSelector:sel_registerName(name.c_str())])
            missing.push_back(name);
    }
    return missing;
}

}  // namespace

TEST(ClassLayout, EveryClassOfTheCoreDerivesFromNSObject)
{
    for (Class type : {[Z5FindData class],
                       [Z5FileExplorerWapper class],
                       [Z5BitLockerFile class],
                       [Z5FileManager class]})
        EXPECT_EQ([type superclass], [NSObject class]) << class_getName(type);
}

TEST(ClassLayout, AnEntryHasItsVariablesInOrder)
{
    EXPECT_EQ(InstanceVariables([Z5FindData class]),
              (Strings{"_nFileSize", "_bDirectory", "_strFileName", "_strModifiedDateTime",
                       "_strFileSize", "_parent", "_subFileData"}));
}

TEST(ClassLayout, TheCatalogueHasItsVariablesInOrder)
{
    EXPECT_EQ(InstanceVariables([Z5FileExplorerWapper class]),
              (Strings{"_fileData", "_volumeObject"}));
}

TEST(ClassLayout, AFileHandleHasItsVariablesInOrder)
{
    EXPECT_EQ(InstanceVariables([Z5BitLockerFile class]),
              (Strings{"_strFilePath", "_fileHandle", "_volObject"}));
}

TEST(ClassLayout, TheEngineHasItsVariablesInOrder)
{
    EXPECT_EQ(InstanceVariables([Z5FileManager class]),
              (Strings{"_fileExplorerWapper", "_uiDelegate", "_sourceFiles", "_threadCopyFile",
                       "_nTotalCopySize", "_nCopiedSize", "_innerBuffer"}));
}

TEST(ClassLayout, AnEntryAnswersToItsOperations)
{
    EXPECT_EQ(Unanswered([Z5FindData class],
                         {
                             "setFileSize:", "initWithFindData:", "setParentNode:", "strFileName",
                                 "setStrFileName:", "strModifiedDateTime",
                                 "setStrModifiedDateTime:", "strFileSize", "nFileSize",
                                 "bDirectory", "setBDirectory:", "parentNode", "subFileData",
                                 "setSubFileData:"
                         }),
              Strings());
    EXPECT_EQ(
        UnansweredByClass([Z5FindData class], { "FormatFileTimeToString:", "fileExtention:" }),
        Strings());
}

TEST(ClassLayout, AnEntrysSizeTextAndParentHaveNoOtherSetters)
{
    EXPECT_EQ(Unanswered([Z5FindData class], { "setStrFileSize:", "setNFileSize:" }),
              (Strings{"setStrFileSize:", "setNFileSize:"}));
}

TEST(ClassLayout, TheCatalogueAnswersToItsOperations)
{
    EXPECT_EQ(
        Unanswered([Z5FileExplorerWapper class],
                   { "initWithVolumeObject:", "rootDirectory", "findFiles:", "getVolObject" }),
        Strings());
    EXPECT_EQ(
        UnansweredByClass([Z5FileExplorerWapper class], { "fullPath:withfilter:", "parentPath:" }),
        Strings());
}

TEST(ClassLayout, AFileHandleAnswersToItsOperations)
{
    EXPECT_EQ(Unanswered([Z5BitLockerFile class],
                         {
                             "initWithFile:andVol:", "openFile:", "seekFile:", "tellg",
                                 "getFileSize", "readFile:ofsize:", "writeFile:ofsize:", "closeFile"
                         }),
              Strings());
}

TEST(ClassLayout, TheEngineAnswersToItsOperations)
{
    EXPECT_EQ(Unanswered([Z5FileManager class],
                         {
                             "initWithSourceFiles:andExplorer:", "getAllFiles:withSize:",
                                 "copyTo:withDelegate:", "copyToInThread:", "copyOneFile:withDest:",
                                 "updateProgress:"
                         }),
              Strings());
    EXPECT_EQ(UnansweredByClass([Z5FileManager class], { "makeDirectory:withSource:" }), Strings());
}
