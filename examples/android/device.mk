# In the product's makefile. PRODUCT_PACKAGES_DEBUG is empty in a user build, so that the agent is in no shipping image.
PRODUCT_PACKAGES += vendor.lumora.tv.vextvfactory@1.0-imp
PRODUCT_PACKAGES_DEBUG += fapi-agent fapi-agent-worker
BOARD_VENDOR_SEPOLICY_DIRS += vendor/lumora/vextvfapi/examples/android/sepolicy
