/// @file
/// Stand-in for the system's header: the side of Bluetooth LE that finds and connects.
#pragma once

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

NS_ASSUME_NONNULL_BEGIN

@class CBCentralManager, CBCharacteristic, CBPeripheral, CBService;

typedef NS_ENUM(NSInteger, CBManagerState) {
  CBManagerStateUnknown = 0,
  CBManagerStateResetting = 1,
  CBManagerStateUnsupported = 2,
  CBManagerStateUnauthorized = 3,
  CBManagerStatePoweredOff = 4,
  CBManagerStatePoweredOn = 5,
};

typedef NS_ENUM(NSInteger, CBManagerAuthorization) {
  CBManagerAuthorizationNotDetermined = 0,
  CBManagerAuthorizationRestricted = 1,
  CBManagerAuthorizationDenied = 2,
  CBManagerAuthorizationAllowedAlways = 3,
};

typedef NS_ENUM(NSInteger, CBPeripheralState) {
  CBPeripheralStateDisconnected = 0,
  CBPeripheralStateConnecting = 1,
  CBPeripheralStateConnected = 2,
  CBPeripheralStateDisconnecting = 3,
};

typedef NS_OPTIONS(NSUInteger, CBCharacteristicProperties) {
  CBCharacteristicPropertyBroadcast = 0x01,
  CBCharacteristicPropertyRead = 0x02,
  CBCharacteristicPropertyWriteWithoutResponse = 0x04,
  CBCharacteristicPropertyWrite = 0x08,
  CBCharacteristicPropertyNotify = 0x10,
  CBCharacteristicPropertyIndicate = 0x20,
};

typedef NS_ENUM(NSInteger, CBCharacteristicWriteType) {
  CBCharacteristicWriteWithResponse = 0,
  CBCharacteristicWriteWithoutResponse = 1,
};

FOUNDATION_EXPORT NSString* const CBAdvertisementDataLocalNameKey;
FOUNDATION_EXPORT NSString* const CBAdvertisementDataServiceUUIDsKey;
FOUNDATION_EXPORT NSString* const CBCentralManagerScanOptionAllowDuplicatesKey;

@interface CBUUID : NSObject <NSCopying>
+ (CBUUID*)UUIDWithString:(NSString*)theString;
+ (CBUUID*)UUIDWithData:(NSData*)theData;
@property(nonatomic, readonly) NSData* data;
@property(nonatomic, readonly) NSString* UUIDString;
@end

@protocol CBCentralManagerDelegate <NSObject>
@required
- (void)centralManagerDidUpdateState:(CBCentralManager*)central;
@optional
- (void)centralManager:(CBCentralManager*)central
    didDiscoverPeripheral:(CBPeripheral*)peripheral
        advertisementData:(NSDictionary<NSString*, id>*)advertisementData
                     RSSI:(NSNumber*)RSSI;
- (void)centralManager:(CBCentralManager*)central didConnectPeripheral:(CBPeripheral*)peripheral;
- (void)centralManager:(CBCentralManager*)central
    didFailToConnectPeripheral:(CBPeripheral*)peripheral
                         error:(nullable NSError*)error;
- (void)centralManager:(CBCentralManager*)central
    didDisconnectPeripheral:(CBPeripheral*)peripheral
                      error:(nullable NSError*)error;
@end

@protocol CBPeripheralDelegate <NSObject>
@optional
- (void)peripheral:(CBPeripheral*)peripheral didDiscoverServices:(nullable NSError*)error;
- (void)peripheral:(CBPeripheral*)peripheral
    didDiscoverCharacteristicsForService:(CBService*)service
                                   error:(nullable NSError*)error;
- (void)peripheral:(CBPeripheral*)peripheral
    didUpdateValueForCharacteristic:(CBCharacteristic*)characteristic
                              error:(nullable NSError*)error;
- (void)peripheral:(CBPeripheral*)peripheral
    didWriteValueForCharacteristic:(CBCharacteristic*)characteristic
                             error:(nullable NSError*)error;
- (void)peripheral:(CBPeripheral*)peripheral
    didUpdateNotificationStateForCharacteristic:(CBCharacteristic*)characteristic
                                          error:(nullable NSError*)error;
@end

@interface CBManager : NSObject
- (instancetype)init NS_UNAVAILABLE;
@property(class, nonatomic, assign, readonly) CBManagerAuthorization authorization;
@property(nonatomic, assign, readonly) CBManagerState state;
@end

@interface CBCentralManager : CBManager
@property(nonatomic, weak, nullable) id<CBCentralManagerDelegate> delegate;
@property(nonatomic, assign, readonly) BOOL isScanning;
- (instancetype)initWithDelegate:(nullable id<CBCentralManagerDelegate>)delegate
                           queue:(nullable dispatch_queue_t)queue;
- (instancetype)initWithDelegate:(nullable id<CBCentralManagerDelegate>)delegate
                           queue:(nullable dispatch_queue_t)queue
                         options:(nullable NSDictionary<NSString*, id>*)options;
- (NSArray<CBPeripheral*>*)retrievePeripheralsWithIdentifiers:(NSArray<NSUUID*>*)identifiers;
- (NSArray<CBPeripheral*>*)retrieveConnectedPeripheralsWithServices:(NSArray<CBUUID*>*)serviceUUIDs;
- (void)scanForPeripheralsWithServices:(nullable NSArray<CBUUID*>*)serviceUUIDs
                               options:(nullable NSDictionary<NSString*, id>*)options;
- (void)stopScan;
- (void)connectPeripheral:(CBPeripheral*)peripheral
                  options:(nullable NSDictionary<NSString*, id>*)options;
- (void)cancelPeripheralConnection:(CBPeripheral*)peripheral;
@end

@interface CBPeer : NSObject
- (instancetype)init NS_UNAVAILABLE;
@property(readonly, nonatomic) NSUUID* identifier;
@end

@interface CBPeripheral : CBPeer
@property(weak, nonatomic, nullable) id<CBPeripheralDelegate> delegate;
@property(copy, readonly, nullable) NSString* name;
@property(readonly) CBPeripheralState state;
@property(copy, readonly, nullable) NSArray<CBService*>* services;
- (void)discoverServices:(nullable NSArray<CBUUID*>*)serviceUUIDs;
- (void)discoverCharacteristics:(nullable NSArray<CBUUID*>*)characteristicUUIDs
                     forService:(CBService*)service;
- (void)readValueForCharacteristic:(CBCharacteristic*)characteristic;
- (void)writeValue:(NSData*)data
    forCharacteristic:(CBCharacteristic*)characteristic
                 type:(CBCharacteristicWriteType)type;
- (void)setNotifyValue:(BOOL)enabled forCharacteristic:(CBCharacteristic*)characteristic;
@end

@interface CBAttribute : NSObject
- (instancetype)init NS_UNAVAILABLE;
@property(readonly, nonatomic) CBUUID* UUID;
@end

@interface CBService : CBAttribute
@property(weak, readonly, nonatomic, nullable) CBPeripheral* peripheral;
@property(copy, readonly, nullable) NSArray<CBCharacteristic*>* characteristics;
@end

@interface CBCharacteristic : CBAttribute
@property(weak, readonly, nonatomic, nullable) CBService* service;
@property(readonly, nonatomic) CBCharacteristicProperties properties;
@property(copy, readonly, nullable) NSData* value;
@property(readonly) BOOL isNotifying;
@end

NS_ASSUME_NONNULL_END
